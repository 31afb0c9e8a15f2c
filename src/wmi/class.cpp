#include "wmi/class.h"

#include "errors/exception.h"

namespace kelvarion {

WMIObject WMIClass::SpawnInstance() const {
  ComPtr<IWbemClassObject> instance;
  const HRESULT hr = object()->SpawnInstance(0, instance.Put());
  if (Failed(hr)) throw ComException(hr, u"Cannot spawn instance of class '%s'", ClassName());
  return WMIObject(std::move(instance));
}

WMIObject WMIClass::SpawnDerivedClass() const {
  ComPtr<IWbemClassObject> derived;
  const HRESULT hr = object()->SpawnDerivedClass(0, derived.Put());
  if (Failed(hr)) throw ComException(hr, u"Cannot spawn derived class of '%s'", ClassName());
  return WMIObject(std::move(derived));
}

WMIObject WMIClass::SpawnMethodOutput(const std::u16string& method) const {
  ComPtr<IWbemClassObject> signature;
  ComPtr<IWbemClassObject> output;
  HRESULT hr = object()->GetMethod(method, 0, nullptr, signature.Put());
  if (Succeeded(hr)) hr = signature ? signature->SpawnInstance(0, output.Put()) : WBEM_E_NOT_FOUND;
  if (Failed(hr))
    throw ComException(hr, u"Cannot get signature for WMI method '%s.%s'", ClassName(), method);
  return WMIObject(std::move(output));
}

bool WMIClass::InheritsFrom(const std::u16string& ancestor) const {
  return object()->InheritsFrom(ancestor) == S_OK;
}

ComPtr<IWbemQualifierSet> WMIClass::Qualifiers() const {
  ComPtr<IWbemQualifierSet> qualifiers;
  const HRESULT hr = object()->GetQualifierSet(qualifiers.Put());
  if (Failed(hr)) throw ComException(hr, u"Cannot get qualifier set for class '%s'", ClassName());
  return qualifiers;
}

std::u16string WMIClass::QualifierText(const std::u16string& name) const {
  Variant value;
  const HRESULT hr = Qualifiers()->Get(name, &value);
  if (Failed(hr)) throw ComException(hr, u"Cannot get qualifier '%s'", name);
  if (value.type() != VT_BSTR) throw ComException(WBEM_E_TYPE_MISMATCH);
  return value.AsString();
}

}  // namespace kelvarion
