#include "host/schema.h"

#include "errors/exception.h"
#include "host/text.h"
#include "platform/com/class_object.h"
#include "platform/text/compare.h"

namespace kelvarion::host {
namespace {

struct TypeNameRow {
  CIMTYPE type;
  const char16_t* name;
};
constexpr TypeNameRow kTypeNames[] = {
    {CIM_SINT16, u"sint16"},       {CIM_SINT32, u"sint32"},   {CIM_REAL64, u"real64"},
    {CIM_STRING, u"string"},       {CIM_BOOLEAN, u"boolean"}, {CIM_OBJECT, u"object"},
    {CIM_UINT8, u"uint8"},         {CIM_UINT16, u"uint16"},   {CIM_UINT32, u"uint32"},
    {CIM_SINT64, u"sint64"},       {CIM_UINT64, u"uint64"},   {CIM_DATETIME, u"datetime"},
    {CIM_REFERENCE, u"reference"},
};

std::vector<std::u16string> QualifierTexts(IWbemQualifierSet* qualifiers,
                                           const std::u16string& name) {
  std::vector<std::u16string> texts;
  Variant value;
  if (!qualifiers || Failed(qualifiers->Get(name, &value)) || !value.IsArray()) return texts;
  for (const Variant& item : value.AsArray().items)
    if (item.type() == VT_BSTR) texts.push_back(item.AsString());
  return texts;
}

bool HasQualifier(IWbemQualifierSet* qualifiers, const std::u16string& name) {
  Variant value;
  if (!qualifiers || Failed(qualifiers->Get(name, &value))) return false;
  return value.type() != VT_BOOL || value.AsBool();
}

void FillFromQualifiers(IWbemQualifierSet* qualifiers, Declaration& out) {
  out.embedded_class = QualifierText(qualifiers, u"EmbeddedInstance");
  out.description = QualifierText(qualifiers, u"Description");
  out.key = HasQualifier(qualifiers, u"key");
  out.optional = HasQualifier(qualifiers, u"Optional");
  out.value_map = QualifierTexts(qualifiers, u"ValueMap");
  out.values = QualifierTexts(qualifiers, u"Values");
}

Method Describe(IWbemClassObject& class_object, const std::u16string& name) {
  Method method;
  method.name = name;
  ComPtr<IWbemQualifierSet> qualifiers;
  class_object.GetMethodQualifierSet(name, qualifiers.Put());
  method.description = QualifierText(qualifiers.Get(), u"Description");
  method.is_static = HasQualifier(qualifiers.Get(), u"static");
  ObjectPtr out_signature;
  ThrowIfFailed(class_object.GetMethod(name, 0, method.in_signature.Put(), out_signature.Put()));
  if (method.in_signature) method.in = PropertiesOf(*method.in_signature);
  if (!out_signature) return method;
  for (Declaration& out : PropertiesOf(*out_signature)) {
    if (!platform::EqualIgnoreCase(out.name, u"ReturnValue")) {
      method.out.push_back(std::move(out));
      continue;
    }
    // What the return value means is said at the method.
    out.value_map = QualifierTexts(qualifiers.Get(), u"ValueMap");
    out.values = QualifierTexts(qualifiers.Get(), u"Values");
    if (out.embedded_class.empty())
      out.embedded_class = QualifierText(qualifiers.Get(), u"EmbeddedInstance");
    method.returns = std::move(out);
  }
  return method;
}

}  // namespace

std::u16string Declaration::TypeName() const {
  std::u16string text = embedded_class;
  for (const TypeNameRow& row : kTypeNames)
    if (text.empty() && row.type == ElementType()) text = row.name;
  return IsArray() ? text + u"[]" : text;
}

std::u16string Declaration::ValueName(const std::u16string& number) const {
  for (std::size_t i = 0; i < value_map.size() && i < values.size(); ++i)
    if (value_map[i] == number) return values[i];
  return {};
}

std::u16string QualifierText(IWbemQualifierSet* qualifiers, const std::u16string& name) {
  Variant value;
  if (!qualifiers || Failed(qualifiers->Get(name, &value)) || value.type() != VT_BSTR) return {};
  return value.AsString();
}

std::vector<Declaration> PropertiesOf(IWbemClassObject& object) {
  std::vector<std::u16string> names;
  ThrowIfFailed(object.GetNames(&names));
  std::vector<Declaration> properties;
  for (const std::u16string& name : names) {
    Declaration property;
    property.name = name;
    ThrowIfFailed(object.Get(name, 0, nullptr, &property.type));
    ComPtr<IWbemQualifierSet> qualifiers;
    object.GetPropertyQualifierSet(name, qualifiers.Put());
    FillFromQualifiers(qualifiers.Get(), property);
    properties.push_back(std::move(property));
  }
  return properties;
}

std::u16string ClassNameOf(IWbemClassObject& object) {
  Variant value;
  if (Failed(object.Get(u"__CLASS", 0, &value, nullptr)) || value.type() != VT_BSTR) return {};
  return value.AsString();
}

Schema::Schema(const std::string& folder) {
  RegisterWbemClasses();
  SchemaError error;
  namespace_ = OpenNamespaceFolder(folder, error);
  if (!namespace_)
    throw SimpleException(u"The classes in '%s' cannot be read: %s", Utf16(folder),
                          Utf16(error.text));
}

ObjectPtr Schema::Find(const std::u16string& class_name) const {
  ObjectPtr found;
  if (Failed(namespace_->GetObject(class_name, 0, nullptr, found.Put()))) return nullptr;
  return found;
}

std::vector<ObjectPtr> Schema::Classes() const {
  std::vector<ObjectPtr> classes;
  ThrowIfFailed(namespace_->CreateClassEnum(u"", 0, nullptr, &classes));
  return classes;
}

std::vector<Method> MethodsOf(IWbemClassObject& class_object) {
  std::vector<std::u16string> names;
  ThrowIfFailed(class_object.GetMethodNames(&names));
  std::vector<Method> methods;
  for (const std::u16string& name : names) methods.push_back(Describe(class_object, name));
  return methods;
}

std::optional<Method> FindMethod(IWbemClassObject& class_object, const std::u16string& name) {
  std::vector<std::u16string> names;
  ThrowIfFailed(class_object.GetMethodNames(&names));
  for (const std::u16string& known : names)
    if (platform::EqualIgnoreCase(known, name)) return Describe(class_object, known);
  return std::nullopt;
}

std::u16string ClassOfPath(const std::u16string& path) {
  ComPtr<IWbemPath> parsed;
  ThrowIfFailed(CoCreateInstance(CLSID_WbemDefPath, IWbemPath::kIid, parsed.PutVoid()));
  std::u16string name;
  if (Failed(parsed->SetText(WBEMPATH_CREATE_ACCEPT_ALL, path)) ||
      Failed(parsed->GetClassName(&name)))
    return {};
  return name;
}

}  // namespace kelvarion::host
