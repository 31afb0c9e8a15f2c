// What a class is made of, complete with everything inherited.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/wmi/interfaces.h"

namespace kelvarion::platform::wmi {

struct Qualifier {
  std::u16string name;
  Variant value;
  // Whether a subclass has it too, and whether it may give it another value.
  bool to_subclass = true;
  bool overridable = true;
};
using Qualifiers = std::vector<Qualifier>;

// True for a boolean qualifier that is there and not false.
bool IsSet(const Qualifiers& qualifiers, std::u16string_view name);
void SetQualifier(Qualifiers& qualifiers, Qualifier qualifier);
// What a subclass gets of these.
Qualifiers Inherited(const Qualifiers& qualifiers);

struct PropertyDefinition {
  std::u16string name;
  CIMTYPE type = CIM_STRING;
  // The class of an embedded object, or that a reference points to; empty for any class.
  std::u16string object_class;
  Variant default_value = Variant::MakeNull();
  Qualifiers qualifiers;
};

// The type that declarations call so; CIM_EMPTY for any other word.
CIMTYPE TypeNamed(std::u16string_view name);

// The text of the qualifier CIMTYPE, which every property carries: "uint32", "object:Some_Class".
std::u16string CimTypeText(CIMTYPE type, const std::u16string& object_class);
// Gives the property that qualifier.
void AddCimType(PropertyDefinition& property);

struct ClassDefinition;

struct MethodDefinition {
  std::u16string name;
  Qualifiers qualifiers;
  // Null when the method takes (gives) nothing.
  std::shared_ptr<ClassDefinition> in;
  std::shared_ptr<ClassDefinition> out;
};

// Shared between all objects of a class and never changed while it is shared.
struct ClassDefinition {
  std::u16string name;  // empty for a derived class that was not named yet
  std::shared_ptr<const ClassDefinition> superclass;
  Qualifiers qualifiers;
  std::vector<PropertyDefinition> properties;
  std::vector<MethodDefinition> methods;

  // Null when there is none of that name.
  const PropertyDefinition* FindProperty(std::u16string_view property) const;
  const MethodDefinition* FindMethod(std::u16string_view method) const;
  bool IsA(std::u16string_view ancestor) const;
};

// A class without a name below `superclass`, with all that it inherits.
ClassDefinition Derive(std::shared_ptr<const ClassDefinition> superclass);

}  // namespace kelvarion::platform::wmi
