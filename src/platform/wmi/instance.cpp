#include "platform/wmi/instance.h"

#include "platform/wmi/names.h"
#include "platform/wmi/path_text.h"
#include "platform/wmi/value.h"

namespace kelvarion::platform::wmi {

Instance::Instance(std::shared_ptr<const ClassDefinition> definition)
    : definition_(std::move(definition)) {
  values_.reserve(definition_->properties.size());
  for (const PropertyDefinition& property : definition_->properties)
    values_.push_back(property.default_value);
}

HRESULT Instance::Get(const std::u16string& name, std::int32_t, Variant* value, CIMTYPE* type) {
  if (IsSystemName(name)) {
    if (!EqualNames(name, u"__RELPATH"))
      return GetSystemProperty(*definition_, true, name, value, type);
    if (value) *value = RelativePath();
    return Answer(CIMTYPE{CIM_STRING}, type);
  }
  const PropertyDefinition* const property = definition_->FindProperty(name);
  if (!property) return WBEM_E_NOT_FOUND;
  if (value) *value = values_[static_cast<std::size_t>(property - definition_->properties.data())];
  return Answer(property->type, type);
}

HRESULT Instance::Put(const std::u16string& name, std::int32_t, const Variant& value, CIMTYPE) {
  if (IsSystemName(name)) return WBEM_E_INVALID_PARAMETER;
  const PropertyDefinition* const property = definition_->FindProperty(name);
  if (!property) return WBEM_E_NOT_FOUND;
  return ConvertValue(value, property->type, property->object_class,
                      values_[static_cast<std::size_t>(property - definition_->properties.data())]);
}

HRESULT Instance::Clone(IWbemClassObject** out) {
  if (!out) return E_POINTER;
  *out = MakeCom<Instance>(definition_, values_).Detach();
  return S_OK;
}

Variant Instance::RelativePath() const {
  PathParts path;
  path.class_name = definition_->name;
  path.singleton = IsSet(definition_->qualifiers, u"singleton");
  for (std::size_t i = 0; i < values_.size(); ++i) {
    const PropertyDefinition& property = definition_->properties[i];
    if (!IsSet(property.qualifiers, u"key")) continue;
    if (values_[i].IsNull()) return Variant::MakeNull();
    path.keys.push_back({property.name, property.type, values_[i]});
  }
  if (path.keys.empty() && !path.singleton) return Variant::MakeNull();
  return Variant::FromString(FormatPath(path));
}

}  // namespace kelvarion::platform::wmi
