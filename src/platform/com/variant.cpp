#include "platform/com/variant.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <optional>

namespace kelvarion {
namespace {

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
    case VT_BSTR: {
      const std::u16string& text = value.AsString();
      if (text.empty() || !std::all_of(text.begin(), text.end(), [](char16_t c) { return c < 128; }))
        return DISP_E_TYPEMISMATCH;
      const std::string ascii(text.begin(), text.end());
      char* end = nullptr;
      out = std::strtod(ascii.c_str(), &end);
      return end == ascii.c_str() + ascii.size() && std::isfinite(out) ? S_OK : DISP_E_TYPEMISMATCH;
    }
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
      std::snprintf(text, sizeof text, "%.15g", value.AsR8());
      out = Ascii(text);
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
