// What a schema file says, before the declarations of all files are brought together.
#pragma once

#include <optional>
#include <vector>

#include "platform/wmi/interfaces.h"
#include "platform/wmi/mof/source.h"

namespace kelvarion::platform::wmi::mof {

struct Literal {
  enum class Kind { kNull, kBoolean, kInteger, kReal, kString, kCharacter, kAlias };
  Kind kind = Kind::kNull;
  // The value; of an alias its name. Integers are VT_I4, VT_UINT or, beyond 32 bits, VT_BSTR.
  Variant value = Variant::MakeNull();
  bool negative = false;
};

// One literal, or a list in braces.
struct Initializer {
  Location where;
  bool is_list = false;
  std::vector<Literal> items;
};

// What a qualifier's value does below the class: unset flavors are those of the qualifier's
// declaration.
struct Flavors {
  std::optional<bool> overridable;
  std::optional<bool> to_subclass;
};

struct QualifierUse {
  Location where;
  std::u16string name;
  std::optional<Initializer> value;
  Flavors flavors;
};

// Where a qualifier may stand: a set of these.
using Scopes = unsigned;
inline constexpr Scopes kOnClass = 1;
inline constexpr Scopes kOnProperty = 2;
inline constexpr Scopes kOnMethod = 4;
inline constexpr Scopes kOnParameter = 8;
inline constexpr Scopes kAnywhere = kOnClass | kOnProperty | kOnMethod | kOnParameter;

struct QualifierDeclaration {
  Location where;
  std::u16string name;
  CIMTYPE type = CIM_STRING;
  std::optional<Initializer> default_value;
  Scopes scopes = kAnywhere;
  Flavors flavors;
};

struct TypeName {
  // Of CIM_EMPTY, `void`; of CIM_OBJECT and CIM_REFERENCE, with the class, if one is named.
  CIMTYPE type = CIM_EMPTY;
  std::u16string object_class;
};

// A property or a parameter.
struct ValueDeclaration {
  Location where;
  std::vector<QualifierUse> qualifiers;
  TypeName type;  // with CIM_FLAG_ARRAY
  std::u16string name;
  std::optional<Initializer> default_value;
};

struct MethodDeclaration {
  Location where;
  std::vector<QualifierUse> qualifiers;
  TypeName return_type;
  std::u16string name;
  std::vector<ValueDeclaration> parameters;
};

struct ClassDeclaration {
  Location where;
  std::vector<QualifierUse> qualifiers;
  std::u16string name;
  std::u16string superclass;  // empty for none
  std::vector<ValueDeclaration> properties;
  std::vector<MethodDeclaration> methods;
};

struct InstanceDeclaration {
  struct Value {
    Location where;
    std::u16string name;
    Initializer value;
  };
  Location where;
  std::u16string class_name;
  std::u16string alias;  // with its $; empty for none
  std::vector<Value> values;
};

struct Schema {
  std::vector<QualifierDeclaration> qualifiers;
  std::vector<ClassDeclaration> classes;
  std::vector<InstanceDeclaration> instances;
  // Files to compile as well, as their includer names them.
  struct Include {
    Location where;
    std::u16string file;
  };
  std::vector<Include> includes;
};

}  // namespace kelvarion::platform::wmi::mof
