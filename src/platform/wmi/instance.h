// Instances, embedded objects and parameters objects.
#pragma once

#include <memory>

#include "platform/wmi/object_base.h"

namespace kelvarion::platform::wmi {

class Instance final : public ObjectBase {
 public:
  // With the defaults of the class.
  explicit Instance(std::shared_ptr<const ClassDefinition> definition);
  Instance(std::shared_ptr<const ClassDefinition> definition, std::vector<Variant> values)
      : definition_(std::move(definition)), values_(std::move(values)) {}

  const ClassDefinition& definition() const override { return *definition_; }
  ClassDefinition* Writable() override { return nullptr; }

  HRESULT Get(const std::u16string& name, std::int32_t flags, Variant* value,
              CIMTYPE* type) override;
  HRESULT Put(const std::u16string& name, std::int32_t flags, const Variant& value,
              CIMTYPE type) override;
  // An object embedded in the instance is not copied with it.
  HRESULT Clone(IWbemClassObject** out) override;

  // Only classes have these.
  HRESULT SpawnDerivedClass(std::int32_t, IWbemClassObject**) override {
    return WBEM_E_NOT_SUPPORTED;
  }
  HRESULT SpawnInstance(std::int32_t, IWbemClassObject**) override { return WBEM_E_NOT_SUPPORTED; }
  HRESULT GetMethod(const std::u16string&, std::int32_t, IWbemClassObject**,
                    IWbemClassObject**) override {
    return WBEM_E_NOT_SUPPORTED;
  }
  HRESULT GetMethodNames(std::vector<std::u16string>*) override { return WBEM_E_NOT_SUPPORTED; }
  HRESULT GetMethodQualifierSet(const std::u16string&, IWbemQualifierSet**) override {
    return WBEM_E_NOT_SUPPORTED;
  }

 private:
  // Class.Key="value",…; null while a key is.
  Variant RelativePath() const;

  std::shared_ptr<const ClassDefinition> definition_;
  std::vector<Variant> values_;  // one for each property of the definition
};

}  // namespace kelvarion::platform::wmi
