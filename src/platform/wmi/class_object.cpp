#include "platform/wmi/class_object.h"

#include "platform/wmi/instance.h"
#include "platform/wmi/names.h"
#include "platform/wmi/path_text.h"
#include "platform/wmi/value.h"

namespace kelvarion::platform::wmi {
namespace {

void HandOut(const std::shared_ptr<ClassDefinition>& signature, IWbemClassObject** out) {
  if (out) *out = signature ? MakeCom<ClassObject>(signature).Detach() : nullptr;
}

}  // namespace

ClassDefinition* ClassObject::Writable() {
  if (definition_.use_count() > 1) definition_ = std::make_shared<ClassDefinition>(*definition_);
  return definition_.get();
}

HRESULT ClassObject::Get(const std::u16string& name, std::int32_t, Variant* value, CIMTYPE* type) {
  if (IsSystemName(name)) {
    if (EqualNames(name, u"__RELPATH")) {
      Answer(CIMTYPE{CIM_STRING}, type);
      return Answer(
          definition_->name.empty() ? Variant::MakeNull() : Variant::FromString(definition_->name),
          value);
    }
    return GetSystemProperty(*definition_, false, name, value, type);
  }
  const PropertyDefinition* const property = definition_->FindProperty(name);
  if (!property) return WBEM_E_NOT_FOUND;
  if (value) *value = property->default_value;
  return Answer(property->type, type);
}

HRESULT ClassObject::Put(const std::u16string& name, std::int32_t, const Variant& value,
                         CIMTYPE type) {
  if (EqualNames(name, u"__CLASS")) return GiveName(value);
  if (IsSystemName(name)) return WBEM_E_INVALID_PARAMETER;
  const PropertyDefinition* const property = definition_->FindProperty(name);
  if (!property) return AddProperty(name, value, type);
  Variant converted;
  const HRESULT hr = ConvertValue(value, property->type, property->object_class, converted);
  if (Failed(hr)) return hr;
  FindNamed(Writable()->properties, name)->default_value = std::move(converted);
  return S_OK;
}

HRESULT ClassObject::GiveName(const Variant& name) {
  if (name.type() != VT_BSTR) return WBEM_E_TYPE_MISMATCH;
  if (!definition_->name.empty() || !IsClassName(name.AsString())) return WBEM_E_INVALID_PARAMETER;
  Writable()->name = name.AsString();
  return S_OK;
}

HRESULT ClassObject::AddProperty(const std::u16string& name, const Variant& value, CIMTYPE type) {
  PropertyDefinition property;
  property.name = name;
  property.type = type == CIM_EMPTY ? TypeForValue(value) : type;
  if (!IsClassName(name) || CimTypeText(property.type, {}).empty()) return WBEM_E_INVALID_PARAMETER;
  const HRESULT hr = ConvertValue(value, property.type, {}, property.default_value);
  if (Failed(hr)) return hr;
  AddCimType(property);
  Writable()->properties.push_back(std::move(property));
  return S_OK;
}

HRESULT ClassObject::SpawnDerivedClass(std::int32_t, IWbemClassObject** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  if (definition_->name.empty()) return WBEM_E_INVALID_CLASS;
  *out = MakeCom<ClassObject>(std::make_shared<ClassDefinition>(Derive(definition_))).Detach();
  return S_OK;
}

HRESULT ClassObject::SpawnInstance(std::int32_t, IWbemClassObject** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  if (definition_->name.empty()) return WBEM_E_INVALID_CLASS;
  *out = MakeCom<Instance>(definition_).Detach();
  return S_OK;
}

HRESULT ClassObject::GetMethod(const std::u16string& name, std::int32_t,
                               IWbemClassObject** in_signature, IWbemClassObject** out_signature) {
  if (in_signature) *in_signature = nullptr;
  if (out_signature) *out_signature = nullptr;
  const MethodDefinition* const method = definition_->FindMethod(name);
  if (!method) return WBEM_E_NOT_FOUND;
  HandOut(method->in, in_signature);
  HandOut(method->out, out_signature);
  return S_OK;
}

HRESULT ClassObject::GetMethodNames(std::vector<std::u16string>* names) {
  if (!names) return E_POINTER;
  names->clear();
  for (const MethodDefinition& method : definition_->methods) names->push_back(method.name);
  return S_OK;
}

HRESULT ClassObject::GetMethodQualifierSet(const std::u16string& name, IWbemQualifierSet** out) {
  return MakeQualifierSet(*this, {QualifierPlace::Kind::kMethod, name}, out);
}

HRESULT ClassObject::Clone(IWbemClassObject** out) {
  if (!out) return E_POINTER;
  *out = MakeCom<ClassObject>(definition_).Detach();
  return S_OK;
}

}  // namespace kelvarion::platform::wmi
