// The MOF compiler: a schema either compiles into classes that can be used or is refused with a
// line that it has.
#include <algorithm>
#include <memory>

#include "fuzz/fuzz.h"
#include "platform/wmi/class_object.h"
#include "platform/wmi/mof/linker.h"
#include "platform/wmi/mof/parser.h"
#include "platform/wmi/names.h"

using namespace kelvarion;
using namespace kelvarion::platform::wmi;

namespace {

void CheckClass(const std::shared_ptr<ClassDefinition>& definition) {
  for (const PropertyDefinition& property : definition->properties)
    fuzz::Expect(definition->FindProperty(property.name) == &property, "property names are unique");
  if (definition->superclass)
    fuzz::Expect(definition->IsA(definition->superclass->name), "a class is what it derives from");
  ComPtr<IWbemClassObject> instance;
  fuzz::Expect(Succeeded(MakeCom<ClassObject>(definition)->SpawnInstance(0, instance.Put())),
               "a class has instances");
  for (const PropertyDefinition& property : definition->properties) {
    Variant value;
    fuzz::Expect(Succeeded(instance->Get(property.name, 0, &value, nullptr)), "they have it, too");
    fuzz::Expect(value.IsNull() || Succeeded(instance->Put(property.name, 0, value, property.type)),
                 "a default value fits its property");
  }
}

void CheckLine(const std::string& message, std::string_view source) {
  const long line = std::strtol(message.c_str() + message.find(':') + 1, nullptr, 10);
  fuzz::Expect(line >= 1 && line <= 1 + std::count(source.begin(), source.end(), '\n'),
               "an error names a line of the file");
}

}  // namespace

void kelvarion::fuzz::Target(std::string_view source) {
  mof::Schema schema;
  try {
    mof::Parse(fuzz::Text(source), {std::make_shared<const std::string>("fuzz.mof"), 1}, schema);
    const mof::Classes classes = mof::Link(schema);
    fuzz::Expect(classes.size() == schema.classes.size(), "every declaration is a class");
    for (const auto& [name, definition] : classes) CheckClass(definition);
  } catch (const mof::CompileError& error) {
    CheckLine(error.text, source);
  }
}
