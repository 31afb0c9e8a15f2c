#include "platform/wmi/value.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>

namespace kelvarion::platform::wmi {
namespace {

// Null when the value has no such conversion.
using Converted = std::optional<Variant>;

Converted ToType(const Variant& value, VARTYPE type) {
  Variant result;
  if (Failed(ChangeType(value, type, result))) return std::nullopt;
  return result;
}

bool HasFraction(const Variant& value) {
  if (value.type() != VT_R8 && value.type() != VT_BSTR) return false;
  const Converted number = ToType(value, VT_R8);
  return number && std::trunc(number->AsR8()) != number->AsR8();
}

template <class Integer>
Converted ToSmallInteger(const Variant& value) {
  const Converted number = ToType(value, VT_I4);
  if (!number || number->AsI4() < std::numeric_limits<Integer>::min() ||
      number->AsI4() > std::numeric_limits<Integer>::max())
    return std::nullopt;
  return number;
}

Converted ToUint32(const Variant& value) {
  const Converted number = ToType(value, VT_UINT);
  if (!number) return std::nullopt;
  return Variant::FromI4(static_cast<std::int32_t>(number->AsUint()));
}

template <class Integer>
Converted ToWideInteger(const Variant& value) {
  std::u16string text;
  if (value.type() == VT_R8) {
    // Beyond 2^53 a double no longer says which integer is meant.
    if (std::abs(value.AsR8()) > 9007199254740992.0) return std::nullopt;
    const std::string digits = std::to_string(static_cast<std::int64_t>(value.AsR8()));
    text.assign(digits.begin(), digits.end());
  } else {
    const Converted converted = ToType(value, VT_BSTR);
    if (!converted || value.type() == VT_BOOL) return std::nullopt;
    text = converted->AsString();
  }
  const std::string ascii(text.begin(), text.end());
  Integer number = 0;
  const auto [end, error] = std::from_chars(ascii.data(), ascii.data() + ascii.size(), number);
  const bool pure = std::all_of(text.begin(), text.end(), [](char16_t c) { return c < 128; });
  if (error != std::errc() || end != ascii.data() + ascii.size() || !pure) return std::nullopt;
  const std::string canonical = std::to_string(number);
  return Variant::FromString({canonical.begin(), canonical.end()});
}

Converted ToCharacter(const Variant& value) {
  if (value.type() != VT_BSTR) return ToSmallInteger<std::uint16_t>(value);
  if (value.AsString().size() != 1) return std::nullopt;
  return Variant::FromI4(value.AsString().front());
}

Converted ToObject(const Variant& value, const std::u16string& object_class) {
  if (value.type() != VT_UNKNOWN) return std::nullopt;
  if (!value.AsObject()) return Variant::MakeNull();
  const ComPtr<IWbemClassObject> object = value.AsObject().As<IWbemClassObject>();
  if (!object) return std::nullopt;
  if (!object_class.empty() && object->InheritsFrom(object_class) != S_OK) return std::nullopt;
  return Variant::FromObject(object);
}

Converted ToDateTime(const Variant& value) {
  if (value.type() != VT_BSTR || !IsDateTime(value.AsString())) return std::nullopt;
  return value;
}

Converted ToInteger(const Variant& value, CIMTYPE type) {
  if (HasFraction(value)) return std::nullopt;
  switch (type) {
    case CIM_SINT8:
      return ToSmallInteger<std::int8_t>(value);
    case CIM_UINT8:
      return ToSmallInteger<std::uint8_t>(value);
    case CIM_SINT16:
      return ToSmallInteger<std::int16_t>(value);
    case CIM_UINT16:
      return ToSmallInteger<std::uint16_t>(value);
    case CIM_SINT32:
      return ToType(value, VT_I4);
    case CIM_UINT32:
      return ToUint32(value);
    case CIM_SINT64:
      return ToWideInteger<std::int64_t>(value);
    case CIM_UINT64:
      return ToWideInteger<std::uint64_t>(value);
    default:
      return std::nullopt;
  }
}

Converted ToScalar(const Variant& value, CIMTYPE type, const std::u16string& object_class) {
  switch (type) {
    case CIM_BOOLEAN:
      return ToType(value, VT_BOOL);
    case CIM_REAL32:
    case CIM_REAL64:
      return ToType(value, VT_R8);
    case CIM_STRING:
    case CIM_REFERENCE:
      return ToType(value, VT_BSTR);
    case CIM_CHAR16:
      return ToCharacter(value);
    case CIM_DATETIME:
      return ToDateTime(value);
    case CIM_OBJECT:
      return ToObject(value, object_class);
    default:
      return ToInteger(value, type);
  }
}

VARTYPE StoredType(CIMTYPE type) {
  switch (type) {
    case CIM_BOOLEAN:
      return VT_BOOL;
    case CIM_REAL32:
    case CIM_REAL64:
      return VT_R8;
    case CIM_OBJECT:
      return VT_UNKNOWN;
    case CIM_STRING:
    case CIM_REFERENCE:
    case CIM_DATETIME:
    case CIM_SINT64:
    case CIM_UINT64:
      return VT_BSTR;
    default:
      return VT_I4;
  }
}

Converted ToArray(const Variant& value, CIMTYPE type, const std::u16string& object_class) {
  const VARTYPE element = StoredType(type);
  const bool nullable = element == VT_BSTR || element == VT_UNKNOWN;
  std::vector<Variant> items;
  items.reserve(value.AsArray().items.size());
  for (const Variant& item : value.AsArray().items) {
    if (item.IsNull() && nullable) {
      items.push_back(item);
      continue;
    }
    Converted converted;
    if (!item.IsArray() && item.type() != VT_EMPTY) converted = ToScalar(item, type, object_class);
    if (!converted) return std::nullopt;
    items.push_back(std::move(*converted));
  }
  return Variant::FromArray(element, std::move(items));
}

bool IsField(std::u16string_view text) {
  const auto digit = [](char16_t c) { return c >= u'0' && c <= u'9'; };
  const auto asterisk = [](char16_t c) { return c == u'*'; };
  return std::all_of(text.begin(), text.end(), digit) ||
         std::all_of(text.begin(), text.end(), asterisk);
}

}  // namespace

HRESULT ConvertValue(const Variant& value, CIMTYPE type, const std::u16string& object_class,
                     Variant& out) {
  if (value.IsNull()) {
    out = value;
    return S_OK;
  }
  const CIMTYPE scalar = type & ~CIM_FLAG_ARRAY;
  if (value.type() == VT_EMPTY || value.IsArray() != (scalar != type)) return WBEM_E_TYPE_MISMATCH;
  Converted converted = value.IsArray() ? ToArray(value, scalar, object_class)
                                        : ToScalar(value, scalar, object_class);
  if (!converted) return WBEM_E_TYPE_MISMATCH;
  out = std::move(*converted);
  return S_OK;
}

CIMTYPE TypeForValue(const Variant& value) {
  const CIMTYPE array = value.IsArray() ? CIM_FLAG_ARRAY : 0;
  switch (value.type() & ~VT_ARRAY) {
    case VT_BOOL:
      return CIM_BOOLEAN | array;
    case VT_I4:
      return CIM_SINT32 | array;
    case VT_UINT:
      return CIM_UINT32 | array;
    case VT_R8:
      return CIM_REAL64 | array;
    case VT_BSTR:
      return CIM_STRING | array;
    case VT_UNKNOWN:
      return CIM_OBJECT | array;
    default:
      return CIM_EMPTY;
  }
}

bool IsDateTime(std::u16string_view text) {
  if (text.size() != 25 || text[14] != u'.') return false;
  constexpr struct { std::size_t start, length; } kTimes[] = {{8, 2}, {10, 2}, {12, 2}, {15, 6}};
  for (const auto& [start, length] : kTimes)
    if (!IsField(text.substr(start, length))) return false;
  if (text[21] == u':') return IsField(text.substr(0, 8)) && text.substr(22) == u"000";
  return (text[21] == u'+' || text[21] == u'-') && IsField(text.substr(0, 4)) &&
         IsField(text.substr(4, 2)) && IsField(text.substr(6, 2)) && IsField(text.substr(22));
}

}  // namespace kelvarion::platform::wmi
