// A typed value as WMI passes it between clients and providers.
#pragma once

#include <string>
#include <variant>
#include <vector>

#include "platform/com/unknown.h"

namespace kelvarion {

using VARTYPE = std::uint16_t;
inline constexpr VARTYPE VT_EMPTY = 0;
inline constexpr VARTYPE VT_NULL = 1;
inline constexpr VARTYPE VT_I2 = 2;
inline constexpr VARTYPE VT_I4 = 3;
inline constexpr VARTYPE VT_R4 = 4;
inline constexpr VARTYPE VT_R8 = 5;
inline constexpr VARTYPE VT_BSTR = 8;
inline constexpr VARTYPE VT_BOOL = 11;
inline constexpr VARTYPE VT_UNKNOWN = 13;
inline constexpr VARTYPE VT_UI1 = 17;
inline constexpr VARTYPE VT_UINT = 23;
inline constexpr VARTYPE VT_ARRAY = 0x2000;

// A value type that owns its contents; an array is one-dimensional, lower bound 0, and holds
// elements of one type (an element of an array of strings or objects may be null).
class Variant {
 public:
  struct Null {
    friend bool operator==(const Null&, const Null&) = default;
  };
  struct Array {
    VARTYPE element = VT_EMPTY;
    std::vector<Variant> items;
    friend bool operator==(const Array&, const Array&);
  };

  Variant() = default;
  static Variant MakeNull();
  static Variant FromBool(bool value);
  static Variant FromI4(std::int32_t value);
  static Variant FromUint(std::uint32_t value);
  static Variant FromR8(double value);
  static Variant FromString(std::u16string value);
  static Variant FromObject(ComPtr<IUnknown> object);
  static Variant FromArray(VARTYPE element, std::vector<Variant> items);
  static Variant FromStrings(const std::vector<std::u16string>& values);

  VARTYPE type() const;
  bool IsNull() const { return type() == VT_NULL; }
  bool IsArray() const { return (type() & VT_ARRAY) != 0; }

  // Each requires the type it names.
  bool AsBool() const;
  std::int32_t AsI4() const;
  std::uint32_t AsUint() const;
  double AsR8() const;
  const std::u16string& AsString() const;
  const ComPtr<IUnknown>& AsObject() const;
  const Array& AsArray() const;

  friend bool operator==(const Variant&, const Variant&) = default;

 private:
  std::variant<std::monostate, Null, bool, std::int32_t, std::uint32_t, double, std::u16string,
               ComPtr<IUnknown>, Array>
      value_;
};

// Converts as automation does between the scalar types. Numbers and booleans convert into each
// other, numeric text into numbers ("True"/"False" and numbers into booleans), scalars into text.
// DISP_E_TYPEMISMATCH when there is no conversion, DISP_E_OVERFLOW when the value does not fit;
// `out` is then untouched.
HRESULT ChangeType(const Variant& value, VARTYPE type, Variant& out);

}  // namespace kelvarion
