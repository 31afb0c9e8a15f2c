#include "host/request_objects.h"

#include "errors/exception.h"
#include "host/text.h"
#include "host/value_input.h"
#include "platform/text/compare.h"

namespace kelvarion::host {
namespace {

const Declaration* FindByName(const std::vector<Declaration>& list, const std::u16string& name) {
  for (const Declaration& declaration : list)
    if (platform::EqualIgnoreCase(declaration.name, name)) return &declaration;
  return nullptr;
}

std::u16string NamesOf(const std::vector<Declaration>& list) {
  std::vector<std::u16string> names;
  for (const Declaration& declaration : list) names.push_back(declaration.name);
  return names.empty() ? u"none" : Join(names);
}

}  // namespace

void Fill(IWbemClassObject& object, const std::vector<Declaration>& declared,
          const std::vector<Argument>& values, const std::u16string& kind,
          const std::u16string& owner, const Schema& schema) {
  for (const Argument& value : values) {
    const Declaration* const declaration = FindByName(declared, value.name);
    if (!declaration) {
      throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS, u"%s has no %s '%s'; it has: %s", owner,
                         kind, value.name, NamesOf(declared));
    }
    const Target target{*declaration, Format(u"%s '%s' of %s", kind, declaration->name, owner)};
    const HRESULT hr =
        object.Put(declaration->name, 0, ValueOf(target, value, schema), declaration->type);
    if (Failed(hr)) {
      throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS, u"The value of the %s does not fit",
                         target.what);
    }
  }
}

ObjectPtr MakeParameters(const Schema& schema, const std::u16string& path,
                         const std::u16string& method_name,
                         const std::vector<Argument>& parameters) {
  const ObjectPtr class_object = schema.Find(ClassOfPath(path));
  if (!class_object) return nullptr;
  const std::optional<Method> method = FindMethod(*class_object, method_name);
  if (!method) return nullptr;
  const std::u16string owner = Format(u"%s.%s", ClassNameOf(*class_object), method->name);
  ObjectPtr in;
  if (method->in_signature) ThrowIfFailed(method->in_signature->SpawnInstance(0, in.Put()));
  if (!in && !parameters.empty()) {
    throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS, u"%s has no parameter '%s'; it has: none",
                       owner, parameters.front().name);
  }
  if (in) Fill(*in, method->in, parameters, u"parameter", owner, schema);
  return in;
}

ObjectPtr MakeInstance(const Schema& schema, const std::u16string& class_name,
                       const std::vector<Argument>& properties) {
  const ObjectPtr class_object = schema.Find(class_name);
  if (!class_object) throw ComException(WBEM_E_INVALID_CLASS, u"Unexpected class '%s'", class_name);
  ObjectPtr instance;
  ThrowIfFailed(class_object->SpawnInstance(0, instance.Put()));
  Fill(*instance, PropertiesOf(*class_object), properties, u"property", ClassNameOf(*class_object),
       schema);
  return instance;
}

}  // namespace kelvarion::host
