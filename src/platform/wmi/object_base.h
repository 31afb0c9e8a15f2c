// What classes and instances have in common: their definition.
#pragma once

#include "platform/wmi/qualifier_set.h"

namespace kelvarion::platform::wmi {

class ObjectBase : public ComObject<QualifierOwner> {
 public:
  HRESULT GetQualifierSet(IWbemQualifierSet** out) override {
    return MakeQualifierSet(*this, {QualifierPlace::Kind::kClass, {}}, out);
  }
  HRESULT GetPropertyQualifierSet(const std::u16string& name, IWbemQualifierSet** out) override {
    return MakeQualifierSet(*this, {QualifierPlace::Kind::kProperty, name}, out);
  }
  HRESULT InheritsFrom(const std::u16string& ancestor) override {
    return definition().IsA(ancestor) ? S_OK : S_FALSE;
  }
  HRESULT GetNames(std::vector<std::u16string>* names) override {
    if (!names) return E_POINTER;
    names->clear();
    for (const PropertyDefinition& property : definition().properties)
      names->push_back(property.name);
    return S_OK;
  }
};

// Names that begin with two underscores belong to the system.
inline bool IsSystemName(const std::u16string& name) { return name.starts_with(u"__"); }

// __CLASS, __SUPERCLASS and __GENUS of a class; WBEM_E_NOT_FOUND for another name.
HRESULT GetSystemProperty(const ClassDefinition& definition, bool instance,
                          const std::u16string& name, Variant* value, CIMTYPE* type);

// For out-parameters that may be null.
template <class T>
HRESULT Answer(T result, T* out) {
  if (out) *out = std::move(result);
  return S_OK;
}

}  // namespace kelvarion::platform::wmi
