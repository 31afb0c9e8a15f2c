// Classes as clients and providers hold them.
#pragma once

#include <memory>

#include "platform/wmi/object_base.h"

namespace kelvarion::platform::wmi {

// Shares the definition until it is written to, so that no change reaches other holders.
class ClassObject final : public ObjectBase {
 public:
  explicit ClassObject(std::shared_ptr<ClassDefinition> definition)
      : definition_(std::move(definition)) {}

  const ClassDefinition& definition() const override { return *definition_; }
  ClassDefinition* Writable() override;

  HRESULT Get(const std::u16string& name, std::int32_t flags, Variant* value,
              CIMTYPE* type) override;
  HRESULT Put(const std::u16string& name, std::int32_t flags, const Variant& value,
              CIMTYPE type) override;
  HRESULT SpawnDerivedClass(std::int32_t flags, IWbemClassObject** out) override;
  HRESULT SpawnInstance(std::int32_t flags, IWbemClassObject** out) override;
  HRESULT GetMethod(const std::u16string& name, std::int32_t flags, IWbemClassObject** in_signature,
                    IWbemClassObject** out_signature) override;
  HRESULT GetMethodNames(std::vector<std::u16string>* names) override;
  HRESULT GetMethodQualifierSet(const std::u16string& name, IWbemQualifierSet** out) override;
  HRESULT Clone(IWbemClassObject** out) override;

 private:
  HRESULT GiveName(const Variant& name);
  HRESULT AddProperty(const std::u16string& name, const Variant& value, CIMTYPE type);

  std::shared_ptr<ClassDefinition> definition_;
};

}  // namespace kelvarion::platform::wmi
