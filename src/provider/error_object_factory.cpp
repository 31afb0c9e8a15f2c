#include "provider/error_object_factory.h"

namespace kelvarion {
namespace {

using Text = Property<std::u16string>;
using Number = Property<std::uint32_t>;

constexpr Number kStatusCode{u"StatusCode"};
constexpr Text kDescription{u"Description"};
constexpr Text kSummary{u"Summary"};
constexpr Text kDetails{u"Details"};
constexpr Number kProbableReason{u"ProbableReason"};

constexpr Number kCimStatusCode{u"CIMStatusCode"};
constexpr Text kMessage{u"Message"};
constexpr Text kMessageId{u"MessageID"};
constexpr Number kErrorCategory{u"error_Category"};
constexpr Number kErrorCode{u"error_Code"};
constexpr Text kErrorType{u"error_Type"};
constexpr Text kErrorWindowsErrorMessage{u"error_WindowsErrorMessage"};
constexpr Text kActualClass{u"ACTUAL_CLASS"};
constexpr Property<WMIObject> kActualErrorInstance{u"ACTUAL_ERRORINSTANCE"};
constexpr Text kClassName{u"__CLASS"};

constexpr const char16_t* kWmiErrorClass = u"MSFT_WmiError";
constexpr std::uint32_t kCimStatusFailed = 1;

void SetCimProperties(WMIObject& object, HRESULT status, const std::u16string& message) {
  object.Set(kCimStatusCode, kCimStatusFailed);
  object.Set(kMessage, message);
  object.Set(kMessageId, Format(u"HRESULT 0x%8.8X", status));
  object.Set(kErrorCategory, 0);
  object.Set(kErrorCode, static_cast<std::uint32_t>(status));
  object.Set(kErrorType, u"HRESULT");
  object.Set(kErrorWindowsErrorMessage, message);
}

}  // namespace

ErrorObjectFactory::ErrorObjectFactory(const WMINamespace& name_space, IWbemContext* context)
    : error_class_(name_space.LoadClass(u"Kelvarion_Error", context)),
      extended_error_class_(name_space.LoadClass(u"Kelvarion_ExtendedError", context)),
      wmi_error_class_(name_space.LoadClass(kWmiErrorClass, context)) {}

WMIObject ErrorObjectFactory::BuildSimple(HRESULT status, const std::u16string& message) const {
  WMIObject error = error_class_.SpawnDerivedClass();
  error.Set(kStatusCode, static_cast<std::uint32_t>(status));
  error.Set(kDescription, message);
  AddCimPart(error, status, message);
  return error;
}

WMIObject ErrorObjectFactory::BuildExtended(HRESULT status,
                                            const LocalServerAdminException& exception) const {
  WMIObject error = extended_error_class_.SpawnDerivedClass();
  error.Set(kStatusCode, static_cast<std::uint32_t>(status));
  error.Set(kSummary, exception.summary());
  error.Set(kDetails, exception.details());
  error.Set(kDescription, exception.description());
  error.Set(kProbableReason, exception.probable_reason());
  AddCimPart(error, status, exception.description());
  return error;
}

void ErrorObjectFactory::AddCimPart(WMIObject& error, HRESULT status,
                                    const std::u16string& message) const {
  WMIObject instance = wmi_error_class_.SpawnInstance();
  SetCimProperties(instance, status, message);
  SetCimProperties(error, status, message);
  error.Set(kActualClass, kWmiErrorClass);
  error.Set(kActualErrorInstance, instance);
  error.Set(kClassName, u"CIM_Error");
}

}  // namespace kelvarion
