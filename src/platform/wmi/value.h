// The values that properties hold, by their declared types.
//
// Stored forms: VT_BOOL; VT_I4 for integers up to 32 bits (an unsigned one keeps its bits) and
// characters; VT_R8 for reals; VT_BSTR for text, references, 64-bit integers (decimal) and
// date-times; VT_UNKNOWN for objects; arrays of these; VT_NULL for no value.
#pragma once

#include <string>
#include <string_view>

#include "platform/wmi/interfaces.h"

namespace kelvarion::platform::wmi {

// Converts into the stored form of `type`. WBEM_E_TYPE_MISMATCH, with `out` untouched, when there
// is no conversion, when the number does not fit or has a fraction, or when an object is not of the
// class `object_class` (any class, if empty).
HRESULT ConvertValue(const Variant& value, CIMTYPE type, const std::u16string& object_class,
                     Variant& out);

// The type of a property that is declared by giving it this value; CIM_EMPTY when that is open.
CIMTYPE TypeForValue(const Variant& value);

// yyyymmddHHMMSS.mmmmmm+ooo, or an interval ddddddddHHMMSS.mmmmmm:000; a field may be asterisks.
bool IsDateTime(std::u16string_view text);

}  // namespace kelvarion::platform::wmi
