#include "provider/activity_class_handler.h"

#include "errors/exception.h"
#include "platform/text/compare.h"

namespace kelvarion {
namespace {

constexpr Property<std::u16string> kId{u"Id"};

[[noreturn]] HRESULT NotSupported() { throw WMIException(WBEM_E_NOT_SUPPORTED); }

}  // namespace

HRESULT ActivityClassHandler::GetObject(ParsedObjectPath&, CallContext*, WMIObject&) {
  NotSupported();
}
HRESULT ActivityClassHandler::PutInstance(const WMIObject&) { NotSupported(); }
HRESULT ActivityClassHandler::DeleteInstance(ParsedObjectPath&) { NotSupported(); }
HRESULT ActivityClassHandler::EnumerateInstances(CallContext*, ResponseSink&) { NotSupported(); }

HRESULT ActivityClassHandler::ExecMethod(ParsedObjectPath&, const std::u16string& method,
                                         CallContext*, const WMIObject& in_params, ResponseSink&,
                                         const IcCancelCallback*) {
  if (!platform::EqualIgnoreCase(method, u"Cancel")) throw WMIException(WBEM_E_INVALID_METHOD);
  return registry_.Cancel(in_params.Get(kId)) ? S_OK : S_FALSE;
}

const std::u16string& ActivityClassHandler::GetClassName() const {
  static const std::u16string name = u"Kelvarion_Activity";
  return name;
}

}  // namespace kelvarion
