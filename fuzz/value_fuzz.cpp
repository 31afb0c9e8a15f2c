// Conversions of values: from text into every type, and as a time.
#include "errors/exception.h"
#include "fuzz/fuzz.h"
#include "platform/wmi/value.h"
#include "wmi/date_time.h"

using namespace kelvarion;

namespace {

void CheckTime(double time) {
  try {
    fuzz::Expect(platform::wmi::IsDateTime(DateTimeText(time)), "a time has the form of one");
  } catch (const Exception&) {  // Not in the calendar.
  }
}

}  // namespace

void kelvarion::fuzz::Target(std::string_view bytes) {
  RegisterWbemClasses();
  const Variant text = Variant::FromString(fuzz::Text(bytes));
  for (const CIMTYPE type :
       {CIM_BOOLEAN, CIM_SINT8, CIM_UINT8, CIM_SINT16, CIM_UINT16, CIM_SINT32, CIM_UINT32,
        CIM_SINT64, CIM_UINT64, CIM_REAL32, CIM_REAL64, CIM_STRING, CIM_DATETIME}) {
    Variant value;
    if (Failed(platform::wmi::ConvertValue(text, type, {}, value))) continue;
    Variant again;
    fuzz::Expect(Succeeded(platform::wmi::ConvertValue(value, type, {}, again)), "stored fits");
    fuzz::Expect(again == value, "a stored value is stored as it is");
    for (const VARTYPE other : {VT_BOOL, VT_I4, VT_UINT, VT_R8, VT_BSTR})
      ChangeType(value, other, again);
    if (value.type() == VT_R8) CheckTime(value.AsR8());
  }
}
