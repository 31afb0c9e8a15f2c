#include "platform/com/variant.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <optional>
#include <system_error>

namespace kelvarion {
namespace {

// A decimal number with blanks around it, whatever the locale.
bool ParseNumber(std::u16string_view text, double& out) {
  std::string digits;
  for (const char16_t c : text) {
    if (c >= 128) return false;
    digits.push_back(static_cast<char>(c));
  }
  const std::size_t first = digits.find_first_not_of(" \t");
  if (first == std::string::npos) return false;
  digits = digits.substr(first, digits.find_last_not_of(" \t") - first + 1);
  if (digits.starts_with('+')) digits.erase(0, 1);
  const char* const end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, out);
  return error == std::errc() && stop == end && std::isfinite(out);
}

// Numbers travel through double: every 32-bit integer fits it exactly.
HRESULT ToNumber(const Variant& value, double& out) {
  switch (value.type()) {
    case VT_EMPTY:
      out = 0;
      return S_OK;
    case VT_BOOL:
      out = value.AsBool() ? -1 : 0;
      return S_OK;
    case VT_I4:
      out = value.AsI4();
      return S_OK;
    case VT_UINT:
      out = value.AsUint();
      return S_OK;
    case VT_R8:
      out = value.AsR8();
      return S_OK;
    case VT_BSTR:
      return ParseNumber(value.AsString(), out) ? S_OK : DISP_E_TYPEMISMATCH;
    default:
      return DISP_E_TYPEMISMATCH;
  }
}

std::optional<bool> BooleanWord(const Variant& value) {
  if (value.type() != VT_BSTR) return std::nullopt;
  std::u16string word = value.AsString();
  for (char16_t& c : word)
    if (c >= u'A' && c <= u'Z') c = static_cast<char16_t>(c + 32);
  if (word == u"true") return true;
  if (word == u"false") return false;
  return std::nullopt;
}

template <class Integer>
HRESULT ToInteger(const Variant& value, Integer& out) {
  double number = 0;
  if (const HRESULT hr = ToNumber(value, number); Failed(hr)) return hr;
  // Automation turns VARIANT_TRUE into all bits set, whatever the width.
  if (value.type() == VT_BOOL) {
    out = value.AsBool() ? static_cast<Integer>(-1) : 0;
    return S_OK;
  }
  // An unsigned property that travelled as VT_I4 keeps its bits.
  if (value.type() == VT_I4) {
    out = static_cast<Integer>(value.AsI4());
    return S_OK;
  }
  const double rounded = std::nearbyint(number);
  if (rounded < static_cast<double>(std::numeric_limits<Integer>::min()) ||
      rounded > static_cast<double>(std::numeric_limits<Integer>::max()))
    return DISP_E_OVERFLOW;
  out = static_cast<Integer>(rounded);
  return S_OK;
}

std::u16string Ascii(const std::string& text) { return {text.begin(), text.end()}; }

HRESULT ToString(const Variant& value, std::u16string& out) {
  switch (value.type()) {
    case VT_EMPTY:
      out.clear();
      return S_OK;
    case VT_BOOL:
      out = value.AsBool() ? u"True" : u"False";
      return S_OK;
    case VT_I4:
      out = Ascii(std::to_string(value.AsI4()));
      return S_OK;
    case VT_UINT:
      out = Ascii(std::to_string(value.AsUint()));
      return S_OK;
    case VT_R8: {
      char text[32];
      const auto end =
          std::to_chars(text, text + sizeof text, value.AsR8(), std::chars_format::general, 15);
      out = Ascii({text, end.ptr});
      return S_OK;
    }
    default:
      return DISP_E_TYPEMISMATCH;
  }
}

HRESULT ToBool(const Variant& value, bool& out) {
  if (const std::optional<bool> word = BooleanWord(value)) {
    out = *word;
    return S_OK;
  }
  double number = 0;
  if (const HRESULT hr = ToNumber(value, number); Failed(hr)) return hr;
  out = number != 0;
  return S_OK;
}

template <class T, class Convert, class Make>
HRESULT Through(const Variant& value, Variant& out, Convert convert, Make make) {
  T result{};
  const HRESULT hr = convert(value, result);
  if (Succeeded(hr)) out = make(std::move(result));
  return hr;
}

}  // namespace

bool operator==(const Variant::Array& a, const Variant::Array& b) {
  return a.element == b.element && a.items == b.items;
}

Variant Variant::MakeNull() {
  Variant v;
  v.value_ = Null{};
  return v;
}
Variant Variant::FromBool(bool value) {
  Variant v;
  v.value_ = value;
  return v;
}
Variant Variant::FromI4(std::int32_t value) {
  Variant v;
  v.value_ = value;
  return v;
}
Variant Variant::FromUint(std::uint32_t value) {
  Variant v;
  v.value_ = value;
  return v;
}
Variant Variant::FromR8(double value) {
  Variant v;
  v.value_ = value;
  return v;
}
Variant Variant::FromString(std::u16string value) {
  Variant v;
  v.value_ = std::move(value);
  return v;
}
Variant Variant::FromObject(ComPtr<IUnknown> object) {
  Variant v;
  v.value_ = std::move(object);
  return v;
}
Variant Variant::FromArray(VARTYPE element, std::vector<Variant> items) {
  Variant v;
  v.value_ = Array{element, std::move(items)};
  return v;
}
Variant Variant::FromStrings(const std::vector<std::u16string>& values) {
  std::vector<Variant> items;
  items.reserve(values.size());
  for (const std::u16string& value : values) items.push_back(FromString(value));
  return FromArray(VT_BSTR, std::move(items));
}

VARTYPE Variant::type() const {
  constexpr VARTYPE kScalars[] = {VT_EMPTY, VT_NULL, VT_BOOL, VT_I4,
                                  VT_UINT,  VT_R8,   VT_BSTR, VT_UNKNOWN};
  if (const Array* array = std::get_if<Array>(&value_))
    return static_cast<VARTYPE>(VT_ARRAY | array->element);
  return kScalars[value_.index()];
}

bool Variant::AsBool() const { return std::get<bool>(value_); }
std::int32_t Variant::AsI4() const { return std::get<std::int32_t>(value_); }
std::uint32_t Variant::AsUint() const { return std::get<std::uint32_t>(value_); }
double Variant::AsR8() const { return std::get<double>(value_); }
const std::u16string& Variant::AsString() const { return std::get<std::u16string>(value_); }
const ComPtr<IUnknown>& Variant::AsObject() const { return std::get<ComPtr<IUnknown>>(value_); }
const Variant::Array& Variant::AsArray() const { return std::get<Array>(value_); }

HRESULT ChangeType(const Variant& value, VARTYPE type, Variant& out) {
  if (value.type() == type) {
    out = value;
    return S_OK;
  }
  switch (type) {
    case VT_BOOL:
      return Through<bool>(value, out, ToBool, Variant::FromBool);
    case VT_I4:
      return Through<std::int32_t>(value, out, ToInteger<std::int32_t>, Variant::FromI4);
    case VT_UINT:
      return Through<std::uint32_t>(value, out, ToInteger<std::uint32_t>, Variant::FromUint);
    case VT_R8:
      return Through<double>(value, out, ToNumber, Variant::FromR8);
    case VT_BSTR:
      return Through<std::u16string>(value, out, ToString, Variant::FromString);
    default:
      return DISP_E_TYPEMISMATCH;
  }
}

}  // namespace kelvarion
