#include "platform/wmi/definition.h"

#include <algorithm>
#include <iterator>

#include "platform/wmi/names.h"

namespace kelvarion::platform::wmi {
namespace {

struct TypeName {
  CIMTYPE type;
  const char16_t* name;
};

constexpr TypeName kTypeNames[] = {
    {CIM_SINT8, u"sint8"},   {CIM_UINT8, u"uint8"},     {CIM_SINT16, u"sint16"},
    {CIM_UINT16, u"uint16"}, {CIM_SINT32, u"sint32"},   {CIM_UINT32, u"uint32"},
    {CIM_SINT64, u"sint64"}, {CIM_UINT64, u"uint64"},   {CIM_REAL32, u"real32"},
    {CIM_REAL64, u"real64"}, {CIM_BOOLEAN, u"boolean"}, {CIM_CHAR16, u"char16"},
    {CIM_STRING, u"string"}, {CIM_OBJECT, u"object"},   {CIM_DATETIME, u"datetime"},
    {CIM_REFERENCE, u"ref"},
};

}  // namespace

bool IsSet(const Qualifiers& qualifiers, std::u16string_view name) {
  const auto found = FindNamed(qualifiers, name);
  return found != qualifiers.end() && found->value.type() == VT_BOOL && found->value.AsBool();
}

void SetQualifier(Qualifiers& qualifiers, Qualifier qualifier) {
  const auto found = FindNamed(qualifiers, qualifier.name);
  if (found == qualifiers.end())
    qualifiers.push_back(std::move(qualifier));
  else
    *found = std::move(qualifier);
}

Qualifiers Inherited(const Qualifiers& qualifiers) {
  Qualifiers result;
  std::copy_if(qualifiers.begin(), qualifiers.end(), std::back_inserter(result),
               [](const Qualifier& qualifier) { return qualifier.to_subclass; });
  return result;
}

CIMTYPE TypeNamed(std::u16string_view name) {
  const auto found = FindNamed(kTypeNames, name);
  return found == std::end(kTypeNames) ? CIM_EMPTY : found->type;
}

std::u16string CimTypeText(CIMTYPE type, const std::u16string& object_class) {
  const auto found = std::find_if(
      std::begin(kTypeNames), std::end(kTypeNames),
      [type](const TypeName& known) { return known.type == (type & ~CIM_FLAG_ARRAY); });
  const std::u16string text = found == std::end(kTypeNames) ? u"" : found->name;
  return object_class.empty() ? text : text + u':' + object_class;
}

void AddCimType(PropertyDefinition& property) {
  SetQualifier(
      property.qualifiers,
      {u"CIMTYPE", Variant::FromString(CimTypeText(property.type, property.object_class))});
}

const PropertyDefinition* ClassDefinition::FindProperty(std::u16string_view property) const {
  const auto found = FindNamed(properties, property);
  return found == properties.end() ? nullptr : &*found;
}

const MethodDefinition* ClassDefinition::FindMethod(std::u16string_view method) const {
  const auto found = FindNamed(methods, method);
  return found == methods.end() ? nullptr : &*found;
}

bool ClassDefinition::IsA(std::u16string_view ancestor) const {
  return EqualNames(name, ancestor) || (superclass && superclass->IsA(ancestor));
}

ClassDefinition Derive(std::shared_ptr<const ClassDefinition> superclass) {
  ClassDefinition derived;
  derived.qualifiers = Inherited(superclass->qualifiers);
  derived.properties = superclass->properties;
  for (PropertyDefinition& property : derived.properties)
    property.qualifiers = Inherited(property.qualifiers);
  derived.methods = superclass->methods;
  for (MethodDefinition& method : derived.methods) method.qualifiers = Inherited(method.qualifiers);
  derived.superclass = std::move(superclass);
  return derived;
}

}  // namespace kelvarion::platform::wmi
