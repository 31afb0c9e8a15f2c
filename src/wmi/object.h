// Typed access to the properties of a management object.
//
// Every failure is a ComException. Reading: "Cannot get property '%s'" when the property is not
// declared; WBEM_E_NOT_FOUND for a null text, boolean or number; WBEM_E_TYPE_MISMATCH for a null
// list and for a text or list of another type; else the code of the conversion that failed.
// Writing: "Cannot set property '%s'". Names compare ignoring case.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include "platform/wmi/interfaces.h"
#include "wmi/property.h"

namespace kelvarion {

// A shared reference to an instance, an embedded object, a parameters object or an error object;
// may be empty, and then has no properties. Copies refer to the same object. Not for several
// threads at once, unless all only read.
class WMIObject {
 public:
  WMIObject() = default;
  explicit WMIObject(ComPtr<IWbemClassObject> object) : object_(std::move(object)) {}
  WMIObject(const WMIObject&) = default;
  WMIObject(WMIObject&&) = default;
  WMIObject& operator=(const WMIObject&) = default;
  WMIObject& operator=(WMIObject&&) = default;
  virtual ~WMIObject() = default;

  const ComPtr<IWbemClassObject>& object() const { return object_; }
  explicit operator bool() const { return static_cast<bool>(object_); }

  std::u16string ClassName() const;

  template <ReadableProperty T>
  T Get(const Property<T>& property) const {
    T value{};
    Read(property.name, value);
    return value;
  }

  // Nothing when the property is null.
  template <ReadableProperty T>
  std::optional<T> GetOptional(const Property<T>& property) const {
    if (IsNull(property)) return std::nullopt;
    return Get(property);
  }

  template <class T>
  bool IsNull(const Property<T>& property) const {
    return ReadVariant(property.name).IsNull();
  }

  template <WritableProperty T>
  void Set(const Property<T>& property, const std::type_identity_t<T>& value) {
    Write(property.name, value);
  }

  // Nothing is written as null.
  template <WritableProperty T>
  void SetOptional(const Property<T>& property,
                   const std::type_identity_t<std::optional<T>>& value) {
    if (value)
      Set(property, *value);
    else
      SetNull(property);
  }

  template <class T>
  void SetNull(const Property<T>& property) {
    WriteVariant(property.name, Variant::MakeNull());
  }

  // `local_time` is an automation date; see DateTimeText for it and for its failures.
  void SetDateTime(const Property<DateTime>& property, double local_time);
  void SetDateTime(const Property<DateTime>& property,
                   std::chrono::sys_time<std::chrono::milliseconds> universal);

 private:
  Variant ReadVariant(const char16_t* name) const;
  Variant ReadAs(const char16_t* name, VARTYPE type) const;
  void Read(const char16_t* name, std::u16string& value) const;
  void Read(const char16_t* name, bool& value) const;
  void Read(const char16_t* name, std::uint32_t& value) const;
  void Read(const char16_t* name, WMIObject& value) const;
  void Read(const char16_t* name, std::vector<WMIObject>& value) const;
  void Read(const char16_t* name, std::vector<std::u16string>& value) const;

  void WriteVariant(const char16_t* name, const Variant& value);
  void Write(const char16_t* name, const std::u16string& value);
  void Write(const char16_t* name, bool value);
  void Write(const char16_t* name, std::uint32_t value);
  void Write(const char16_t* name, std::uint64_t value);
  void Write(const char16_t* name, const WMIObject& value);
  void Write(const char16_t* name, const std::vector<WMIObject>& values);
  void Write(const char16_t* name, const std::vector<std::u16string>& values);

  ComPtr<IWbemClassObject> object_;
};

}  // namespace kelvarion
