#include "wmi/object.h"

#include <limits>
#include <new>

#include "errors/exception.h"
#include "wmi/date_time.h"

namespace kelvarion {
namespace {

constexpr Property<std::u16string> kClass{u"__CLASS"};

// A list that WMI can carry: its indexes have 32 bits.
template <class T, class MakeItem>
Variant MakeList(VARTYPE element, const std::vector<T>& values, MakeItem make_item) {
  if (values.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()))
    throw ComException(E_INVALIDARG);
  try {
    std::vector<Variant> items;
    items.reserve(values.size());
    for (const T& value : values) items.push_back(make_item(value));
    return Variant::FromArray(element, std::move(items));
  } catch (const std::bad_alloc&) {
    throw ComException(E_OUTOFMEMORY);
  }
}

const std::vector<Variant>& RequireList(const Variant& value, VARTYPE element) {
  if (value.type() != (VT_ARRAY | element)) throw ComException(WBEM_E_TYPE_MISMATCH);
  return value.AsArray().items;
}

Variant ObjectVariant(const WMIObject& value) { return Variant::FromObject(value.object()); }

}  // namespace

std::u16string WMIObject::ClassName() const { return Get(kClass); }

Variant WMIObject::ReadVariant(const char16_t* name) const {
  Variant value;
  const HRESULT hr = object_ ? object_->Get(name, 0, &value, nullptr) : WBEM_E_NOT_FOUND;
  if (Failed(hr)) throw ComException(hr, u"Cannot get property '%s'", name);
  return value;
}

void WMIObject::Read(const char16_t* name, std::u16string& value) const {
  const Variant read = ReadVariant(name);
  if (read.IsNull()) throw ComException(WBEM_E_NOT_FOUND);
  if (read.type() != VT_BSTR) throw ComException(WBEM_E_TYPE_MISMATCH);
  value = read.AsString();
}

Variant WMIObject::ReadAs(const char16_t* name, VARTYPE type) const {
  const Variant read = ReadVariant(name);
  if (read.IsNull()) throw ComException(WBEM_E_NOT_FOUND, u"Cannot get property '%s'", name);
  Variant converted;
  ThrowIfFailed(ChangeType(read, type, converted));
  return converted;
}

void WMIObject::Read(const char16_t* name, bool& value) const {
  value = ReadAs(name, VT_BOOL).AsBool();
}

void WMIObject::Read(const char16_t* name, std::uint32_t& value) const {
  value = ReadAs(name, VT_UINT).AsUint();
}

void WMIObject::Read(const char16_t* name, WMIObject& value) const {
  Variant unknown;
  ThrowIfFailed(ChangeType(ReadVariant(name), VT_UNKNOWN, unknown));
  const ComPtr<IWbemClassObject> object = unknown.AsObject().As<IWbemClassObject>();
  if (!object) throw ComException(E_NOINTERFACE);
  value = WMIObject(object);
}

void WMIObject::Read(const char16_t* name, std::vector<WMIObject>& value) const {
  const Variant read = ReadVariant(name);
  for (const Variant& item : RequireList(read, VT_UNKNOWN)) {
    ComPtr<IWbemClassObject> object;
    if (item.type() == VT_UNKNOWN) object = item.AsObject().As<IWbemClassObject>();
    if (!object) throw ComException(WBEM_E_TYPE_MISMATCH);
    value.emplace_back(object);
  }
}

void WMIObject::Read(const char16_t* name, std::vector<std::u16string>& value) const {
  const Variant read = ReadVariant(name);
  for (const Variant& item : RequireList(read, VT_BSTR))
    value.push_back(item.type() == VT_BSTR ? item.AsString() : std::u16string());
}

void WMIObject::WriteVariant(const char16_t* name, const Variant& value) {
  const HRESULT hr = object_ ? object_->Put(name, 0, value, 0) : E_POINTER;
  if (Failed(hr)) throw ComException(hr, u"Cannot set property '%s'", name);
}

void WMIObject::Write(const char16_t* name, const std::u16string& value) {
  WriteVariant(name, Variant::FromString(value));
}

void WMIObject::Write(const char16_t* name, bool value) {
  WriteVariant(name, Variant::FromBool(value));
}

void WMIObject::Write(const char16_t* name, std::uint32_t value) {
  WriteVariant(name, Variant::FromI4(static_cast<std::int32_t>(value)));
}

void WMIObject::Write(const char16_t* name, std::uint64_t value) {
  const std::string digits = std::to_string(value);
  WriteVariant(name, Variant::FromString({digits.begin(), digits.end()}));
}

void WMIObject::Write(const char16_t* name, const WMIObject& value) {
  WriteVariant(name, ObjectVariant(value));
}

void WMIObject::Write(const char16_t* name, const std::vector<WMIObject>& values) {
  WriteVariant(name, MakeList(VT_UNKNOWN, values, ObjectVariant));
}

void WMIObject::Write(const char16_t* name, const std::vector<std::u16string>& values) {
  WriteVariant(name, MakeList(VT_BSTR, values, Variant::FromString));
}

void WMIObject::SetDateTime(const Property<DateTime>& property, double local_time) {
  WriteVariant(property.name, Variant::FromString(DateTimeText(local_time)));
}

void WMIObject::SetDateTime(const Property<DateTime>& property,
                            std::chrono::sys_time<std::chrono::milliseconds> universal) {
  WriteVariant(property.name, Variant::FromString(DateTimeText(universal)));
}

}  // namespace kelvarion
