#include "util/resources.h"

#include "errors/exception.h"
#include "platform/text/compare.h"
#include "util/resource_table.h"

namespace kelvarion::util {

std::string LoadResource(std::u16string_view type, std::u16string_view name) {
  bool type_exists = false;
  for (const Resource& each : AllResources()) {
    if (!platform::EqualIgnoreCase(each.type, type)) continue;
    type_exists = true;
    if (platform::EqualIgnoreCase(each.name, name)) return std::string(each.begin, each.end);
  }
  throw Win32Exception(type_exists ? ERROR_RESOURCE_NAME_NOT_FOUND : ERROR_RESOURCE_TYPE_NOT_FOUND);
}

std::string LoadTextResource(std::u16string_view name) { return LoadResource(u"TEXT", name); }

}  // namespace kelvarion::util
