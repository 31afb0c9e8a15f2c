#include "platform/wmi/object_base.h"

#include "platform/wmi/names.h"

namespace kelvarion::platform::wmi {
namespace {

Variant TextOrNull(const std::u16string& text) {
  return text.empty() ? Variant::MakeNull() : Variant::FromString(text);
}

}  // namespace

HRESULT GetSystemProperty(const ClassDefinition& definition, bool instance,
                          const std::u16string& name, Variant* value, CIMTYPE* type) {
  if (EqualNames(name, u"__GENUS")) {
    Answer(CIMTYPE{CIM_SINT32}, type);
    return Answer(Variant::FromI4(instance ? 2 : 1), value);
  }
  const bool superclass = EqualNames(name, u"__SUPERCLASS");
  if (!superclass && !EqualNames(name, u"__CLASS")) return WBEM_E_NOT_FOUND;
  Answer(CIMTYPE{CIM_STRING}, type);
  if (!superclass) return Answer(TextOrNull(definition.name), value);
  return Answer(
      definition.superclass ? TextOrNull(definition.superclass->name) : Variant::MakeNull(), value);
}

}  // namespace kelvarion::platform::wmi
