#include "platform/wmi/mof/linker.h"

#include "platform/wmi/mof/qualifier_table.h"
#include "platform/wmi/mof/typed_value.h"
#include "platform/wmi/names.h"

namespace kelvarion::platform::wmi::mof {
namespace {

bool SameType(const PropertyDefinition& a, const PropertyDefinition& b) {
  return a.type == b.type && EqualNames(a.object_class, b.object_class);
}

bool SameSignature(const std::shared_ptr<ClassDefinition>& a,
                   const std::shared_ptr<ClassDefinition>& b) {
  if (!a || !b) return !a && !b;
  return std::equal(
      a->properties.begin(), a->properties.end(), b->properties.begin(), b->properties.end(),
      [](const auto& x, const auto& y) { return EqualNames(x.name, y.name) && SameType(x, y); });
}

void AddParameter(std::shared_ptr<ClassDefinition>& signature,
                  const PropertyDefinition& parameter) {
  if (!signature) {
    signature = std::make_shared<ClassDefinition>();
    signature->name = u"__PARAMETERS";
  }
  signature->properties.push_back(parameter);
}

template <class Declarations>
void RefuseDuplicates(const Declarations& declarations, std::u16string_view kind) {
  for (auto it = declarations.begin(); it != declarations.end(); ++it)
    for (auto earlier = declarations.begin(); earlier != it; ++earlier)
      if (EqualNames(earlier->name, it->name))
        Fail(it->where, u"a second " + std::u16string(kind) + u' ' + it->name,
             u"each name once; the first is at " + ToText(earlier->where));
}

class Linker {
 public:
  explicit Linker(const Schema& schema) : schema_(schema), qualifiers_(schema.qualifiers) {
    for (const ClassDeclaration& declaration : schema.classes) {
      const auto [entry, added] = entries_.try_emplace(FoldName(declaration.name));
      if (!added)
        Fail(declaration.where, u"a second class " + declaration.name,
             u"each name once; the first is at " + ToText(entry->second.declaration->where));
      entry->second.declaration = &declaration;
    }
  }

  Classes Run() {
    Classes classes;
    for (auto& [name, entry] : entries_) classes[name] = LinkClass(entry);
    for (const InstanceDeclaration& instance : schema_.instances) CheckInstance(instance, classes);
    return classes;
  }

 private:
  struct Entry {
    const ClassDeclaration* declaration = nullptr;
    bool linking = false;
    std::shared_ptr<ClassDefinition> definition;
  };

  std::shared_ptr<ClassDefinition> LinkClass(Entry& entry) {
    if (entry.definition) return entry.definition;
    const ClassDeclaration& declaration = *entry.declaration;
    if (entry.linking)
      Fail(declaration.where, u"class " + declaration.name + u" above itself",
           u"a superclass that is not derived from it");
    entry.linking = true;
    ClassDefinition linked;
    if (!declaration.superclass.empty()) {
      const auto superclass = entries_.find(FoldName(declaration.superclass));
      if (superclass == entries_.end())
        Fail(declaration.where, u"superclass " + declaration.superclass, u"a declared class");
      linked = Derive(LinkClass(superclass->second));
    }
    linked.name = declaration.name;
    linked.qualifiers =
        qualifiers_.Resolve(declaration.qualifiers, kOnClass, std::move(linked.qualifiers));
    RefuseDuplicates(declaration.properties, u"property");
    for (const ValueDeclaration& property : declaration.properties) AddProperty(linked, property);
    RefuseDuplicates(declaration.methods, u"method");
    for (const MethodDeclaration& method : declaration.methods) AddMethod(linked, method);
    entry.definition = std::make_shared<ClassDefinition>(std::move(linked));
    return entry.definition;
  }

  void AddProperty(ClassDefinition& target, const ValueDeclaration& declaration) {
    const auto inherited = FindNamed(target.properties, declaration.name);
    const bool overrides = inherited != target.properties.end();
    PropertyDefinition property =
        LinkValue(declaration, kOnProperty, overrides ? inherited->qualifiers : Qualifiers());
    CheckKey(property, declaration.where);
    if (!overrides) {
      target.properties.push_back(std::move(property));
      return;
    }
    if (!SameType(property, *inherited))
      Fail(declaration.where,
           u"property " + property.name + u" of type " +
               CimTypeText(property.type, property.object_class),
           u"the superclass's type " + CimTypeText(inherited->type, inherited->object_class));
    if (!declaration.default_value) property.default_value = inherited->default_value;
    *inherited = std::move(property);
  }

  PropertyDefinition LinkValue(const ValueDeclaration& declaration, Scopes scope,
                               Qualifiers inherited) {
    PropertyDefinition value;
    value.name = declaration.name;
    value.qualifiers = qualifiers_.Resolve(declaration.qualifiers, scope, std::move(inherited));
    ResolveType(declaration.type, declaration.where, value);
    if (declaration.default_value)
      value.default_value = Evaluate(*declaration.default_value, value.type);
    AddCimType(value);
    return value;
  }

  // With the spelling of the class's own declaration.
  std::u16string ClassNamed(const std::u16string& name, const Location& where) const {
    const auto found = entries_.find(FoldName(name));
    if (found == entries_.end()) Fail(where, u"type " + name, u"a type or a declared class");
    return found->second.declaration->name;
  }

  // Text with EmbeddedInstance is the standard spelling of a property that holds objects.
  void ResolveType(const TypeName& type, const Location& where, PropertyDefinition& value) const {
    value.type = type.type;
    if (!type.object_class.empty()) value.object_class = ClassNamed(type.object_class, where);
    const CIMTYPE array = type.type & CIM_FLAG_ARRAY;
    const CIMTYPE scalar = type.type & ~CIM_FLAG_ARRAY;
    if (scalar == CIM_STRING && IsSet(value.qualifiers, u"EmbeddedObject"))
      value.type = CIM_OBJECT | array;
    const auto embedded = FindNamed(value.qualifiers, u"EmbeddedInstance");
    if (embedded == value.qualifiers.end() || embedded->value.IsNull()) return;
    const std::u16string embedded_class = ClassNamed(embedded->value.AsString(), where);
    if ((scalar != CIM_OBJECT && scalar != CIM_STRING) ||
        (!value.object_class.empty() && !EqualNames(value.object_class, embedded_class)))
      Fail(where,
           u"EmbeddedInstance " + embedded_class + u" on type " +
               CimTypeText(value.type, value.object_class),
           u"the class that is the type");
    value.type = CIM_OBJECT | array;
    value.object_class = embedded_class;
  }

  static void CheckKey(const PropertyDefinition& property, const Location& where) {
    const bool usable = property.type != CIM_OBJECT && property.type != CIM_REAL32 &&
                        property.type != CIM_REAL64 && (property.type & CIM_FLAG_ARRAY) == 0;
    if (!usable && IsSet(property.qualifiers, u"key"))
      Fail(where,
           u"key " + property.name + u" of type " +
               CimTypeText(property.type, property.object_class),
           u"a single text, integer or boolean");
  }

  void AddMethod(ClassDefinition& target, const MethodDeclaration& declaration) {
    const auto inherited = FindNamed(target.methods, declaration.name);
    const bool overrides = inherited != target.methods.end();
    MethodDefinition method;
    method.name = declaration.name;
    method.qualifiers = qualifiers_.Resolve(declaration.qualifiers, kOnMethod,
                                            overrides ? inherited->qualifiers : Qualifiers());
    RefuseDuplicates(declaration.parameters, u"parameter");
    for (const ValueDeclaration& parameter : declaration.parameters)
      LinkParameter(parameter,
                    static_cast<std::int32_t>(&parameter - declaration.parameters.data()), method);
    LinkReturnValue(declaration, method);
    if (!overrides) {
      target.methods.push_back(std::move(method));
      return;
    }
    if (!SameSignature(method.in, inherited->in) || !SameSignature(method.out, inherited->out))
      Fail(declaration.where, u"method " + method.name + u" with other parameters",
           u"the parameters and type that the superclass gives it");
    *inherited = std::move(method);
  }

  void LinkParameter(const ValueDeclaration& declaration, std::int32_t position,
                     MethodDefinition& method) {
    PropertyDefinition parameter = LinkValue(declaration, kOnParameter, {});
    // Tells the order of parameters across the two signatures.
    SetQualifier(parameter.qualifiers, {u"ID", Variant::FromI4(position)});
    const bool out = IsSet(parameter.qualifiers, u"Out");
    const bool says_in = FindNamed(parameter.qualifiers, u"In") != parameter.qualifiers.end();
    const bool in = says_in ? IsSet(parameter.qualifiers, u"In") : !out;
    if (!in && !out)
      Fail(declaration.where, u"parameter " + parameter.name + u" that goes neither in nor out",
           u"In or Out");
    if (EqualNames(parameter.name, u"ReturnValue"))
      Fail(declaration.where, u"a parameter ReturnValue", u"another name: this is the result's");
    if (in) AddParameter(method.in, parameter);
    if (out) AddParameter(method.out, parameter);
  }

  void LinkReturnValue(const MethodDeclaration& declaration, MethodDefinition& method) {
    if (declaration.return_type.type == CIM_EMPTY) return;
    PropertyDefinition result;
    result.name = u"ReturnValue";
    result.qualifiers = method.qualifiers;
    ResolveType(declaration.return_type, declaration.where, result);
    result.qualifiers = {{u"Out", Variant::FromBool(true)}};
    AddCimType(result);
    AddParameter(method.out, result);
  }

  void CheckInstance(const InstanceDeclaration& instance, const Classes& classes) {
    const auto found = classes.find(FoldName(instance.class_name));
    if (found == classes.end())
      Fail(instance.where, u"an instance of " + instance.class_name, u"a declared class");
    RefuseDuplicates(instance.values, u"value of");
    for (const InstanceDeclaration::Value& value : instance.values) {
      const PropertyDefinition* const property = found->second->FindProperty(value.name);
      if (!property)
        Fail(value.where, u"property " + value.name, u"a property of " + found->second->name);
      Evaluate(value.value, property->type);
      for (const Literal& literal : value.value.items)
        if (literal.kind == Literal::Kind::kAlias) CheckAlias(literal, value.where);
    }
  }

  void CheckAlias(const Literal& literal, const Location& where) const {
    for (const InstanceDeclaration& instance : schema_.instances)
      if (EqualNames(instance.alias, literal.value.AsString())) return;
    Fail(where, u"alias " + literal.value.AsString(), u"the alias of an instance");
  }

  const Schema& schema_;
  QualifierTable qualifiers_;
  std::map<std::u16string, Entry> entries_;
};

}  // namespace

Classes Link(const Schema& schema) { return Linker(schema).Run(); }

}  // namespace kelvarion::platform::wmi::mof
