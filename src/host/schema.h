// The management classes as a host knows them: by the schema alone.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/wmi/interfaces.h"

namespace kelvarion::host {

using ObjectPtr = ComPtr<IWbemClassObject>;

// A property of a class or a parameter of a method.
struct Declaration {
  std::u16string name;
  CIMTYPE type = CIM_EMPTY;
  std::u16string embedded_class;  // Of CIM_OBJECT; empty when objects of several classes fit.
  std::u16string description;
  bool key = false;
  bool optional = false;
  // Names of numbers, pairwise.
  std::vector<std::u16string> value_map;
  std::vector<std::u16string> values;

  bool IsArray() const { return (type & CIM_FLAG_ARRAY) != 0; }
  CIMTYPE ElementType() const { return type & ~CIM_FLAG_ARRAY; }
  // "string[]", "uint32", "Kelvarion_User"
  std::u16string TypeName() const;
  // The name that the class gives a number; empty when it has none.
  std::u16string ValueName(const std::u16string& number) const;
};

struct Method {
  std::u16string name;
  std::u16string description;
  bool is_static = false;
  std::vector<Declaration> in;
  std::vector<Declaration> out;  // Without the return value.
  std::optional<Declaration> returns;
  // From which the parameters object is spawned; null when there are no in parameters.
  ObjectPtr in_signature;
};

// The properties of a class, an instance or a parameters object, in declaration order.
std::vector<Declaration> PropertiesOf(IWbemClassObject& object);
std::u16string ClassNameOf(IWbemClassObject& object);
// The text of a class's or a method's qualifier; empty when it has none.
std::u16string QualifierText(IWbemQualifierSet* qualifiers, const std::u16string& name);

// Read-only after construction; safe from any thread.
class Schema {
 public:
  // Compiles the folder's classes. Throws SimpleException with what is wrong in which line.
  explicit Schema(const std::string& folder);

  const ComPtr<IWbemServices>& name_space() const { return namespace_; }

  // Null when there is no such class; names compare ignoring case.
  ObjectPtr Find(const std::u16string& class_name) const;
  // All classes, by name.
  std::vector<ObjectPtr> Classes() const;

 private:
  ComPtr<IWbemServices> namespace_;
};

// Methods in declaration order.
std::vector<Method> MethodsOf(IWbemClassObject& class_object);
// Nothing when the class has no such method; names compare ignoring case.
std::optional<Method> FindMethod(IWbemClassObject& class_object, const std::u16string& name);

// The class that an object path (or a bare class name) names; empty when the text is no path.
std::u16string ClassOfPath(const std::u16string& path);

}  // namespace kelvarion::host
