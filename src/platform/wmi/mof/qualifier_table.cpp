#include "platform/wmi/mof/qualifier_table.h"

#include "platform/wmi/mof/typed_value.h"
#include "platform/wmi/names.h"

namespace kelvarion::platform::wmi::mof {
namespace {

constexpr Scopes kOnValue = kOnProperty | kOnParameter | kOnMethod;
constexpr CIMTYPE kStrings = CIM_STRING | CIM_FLAG_ARRAY;

std::vector<QualifierRule> BuiltInRules() {
  return {
      {u"abstract", CIM_BOOLEAN, kOnClass, false},
      {u"association", CIM_BOOLEAN, kOnClass, true, false},
      {u"BitMap", kStrings, kOnValue},
      {u"BitValues", kStrings, kOnValue},
      {u"ClassVersion", CIM_STRING, kOnClass, false},
      {u"Deprecated", kStrings, kAnywhere, false},
      {u"Description", CIM_STRING, kAnywhere},
      {u"DisplayName", CIM_STRING, kAnywhere},
      {u"dynamic", CIM_BOOLEAN, kOnClass},
      {u"EmbeddedInstance", CIM_STRING, kOnValue},
      {u"EmbeddedObject", CIM_BOOLEAN, kOnValue, true, false},
      {u"implemented", CIM_BOOLEAN, kOnMethod, false},
      {u"In", CIM_BOOLEAN, kOnParameter, true, false},
      {u"key", CIM_BOOLEAN, kOnProperty, true, false},
      {u"MaxLen", CIM_UINT32, kOnValue},
      {u"MaxValue", CIM_SINT64, kOnValue},
      {u"MinValue", CIM_SINT64, kOnValue},
      {u"Optional", CIM_BOOLEAN, kOnParameter},
      {u"Out", CIM_BOOLEAN, kOnParameter, true, false},
      {u"Override", CIM_STRING, kOnProperty | kOnMethod, false},
      {u"provider", CIM_STRING, kOnClass},
      {u"read", CIM_BOOLEAN, kOnProperty},
      {u"Required", CIM_BOOLEAN, kOnValue, true, false},
      {u"singleton", CIM_BOOLEAN, kOnClass, true, false},
      {u"static", CIM_BOOLEAN, kOnMethod | kOnProperty, true, false},
      {u"Units", CIM_STRING, kOnValue},
      {u"ValueMap", kStrings, kOnValue},
      {u"Values", kStrings, kOnValue},
      {u"Version", CIM_STRING, kOnClass, false},
      {u"write", CIM_BOOLEAN, kOnProperty},
  };
}

QualifierRule ToRule(const QualifierDeclaration& declaration) {
  QualifierRule rule{declaration.name,
                     declaration.type,
                     declaration.scopes,
                     declaration.flavors.to_subclass.value_or(true),
                     declaration.flavors.overridable.value_or(true),
                     Variant::MakeNull()};
  if (declaration.default_value)
    rule.default_value = Evaluate(*declaration.default_value, declaration.type);
  return rule;
}

std::u16string Place(Scopes scope) {
  switch (scope) {
    case kOnClass:
      return u"a class";
    case kOnProperty:
      return u"a property";
    case kOnMethod:
      return u"a method";
    default:
      return u"a parameter";
  }
}

Variant ValueOf(const QualifierUse& use, const QualifierRule& rule) {
  if (use.value) return Evaluate(*use.value, rule.type);
  if (rule.type == CIM_BOOLEAN) return Variant::FromBool(true);
  if (rule.default_value.IsNull())
    Fail(use.where, u"qualifier " + use.name + u" without a value",
         u"a value of type " + CimTypeText(rule.type, {}));
  return rule.default_value;
}

}  // namespace

QualifierTable::QualifierTable(const std::vector<QualifierDeclaration>& declarations)
    : rules_(BuiltInRules()) {
  for (auto it = declarations.begin(); it != declarations.end(); ++it) {
    const auto earlier = std::find_if(declarations.begin(), it, [it](const auto& declaration) {
      return EqualNames(declaration.name, it->name);
    });
    if (earlier != it)
      Fail(it->where, u"a second declaration of qualifier " + it->name,
           u"one only; the first is at " + ToText(earlier->where));
    const auto known = FindNamed(rules_, it->name);
    if (known == rules_.end())
      rules_.push_back(ToRule(*it));
    else
      *known = ToRule(*it);
  }
}

const QualifierRule& QualifierTable::Find(const QualifierUse& use, Scopes scope) const {
  const auto found = FindNamed(rules_, use.name);
  if (found == rules_.end())
    Fail(use.where, u"qualifier " + use.name, u"a qualifier that is declared or built in");
  if ((found->scopes & scope) == 0)
    Fail(use.where, u"qualifier " + use.name + u" on " + Place(scope),
         u"a qualifier for " + Place(scope));
  return *found;
}

Qualifiers QualifierTable::Resolve(const std::vector<QualifierUse>& uses, Scopes scope,
                                   Qualifiers inherited) const {
  Qualifiers result = std::move(inherited);
  std::vector<std::u16string_view> seen;
  for (const QualifierUse& use : uses) {
    for (const std::u16string_view name : seen)
      if (EqualNames(name, use.name))
        Fail(use.where, u"a second qualifier " + use.name, u"each name once");
    seen.push_back(use.name);
    const QualifierRule& rule = Find(use, scope);
    Qualifier qualifier{rule.name, ValueOf(use, rule),
                        use.flavors.to_subclass.value_or(rule.to_subclass),
                        use.flavors.overridable.value_or(rule.overridable)};
    const auto above = FindNamed(result, use.name);
    if (above != result.end() && !above->overridable && above->value != qualifier.value)
      Fail(use.where, u"another value of qualifier " + use.name, u"the value of the superclass");
    SetQualifier(result, std::move(qualifier));
  }
  return result;
}

}  // namespace kelvarion::platform::wmi::mof
