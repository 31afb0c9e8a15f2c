// Files that are compiled into the program.
//
// Every file in a folder "templates" or "resources" of a module becomes one. Its name is the file's
// name without the last extension: WebUI.Index.Template.html is "WebUI.Index.Template".
// Registration scripts (*.rgs) are of type "REGISTRY", all others of type "TEXT".
#pragma once

#include <string>
#include <string_view>

namespace kelvarion::util {

// A copy of the resource's bytes. Fails with Win32Exception of ERROR_RESOURCE_TYPE_NOT_FOUND or
// ERROR_RESOURCE_NAME_NOT_FOUND, without a text of its own. Names compare ignoring case.
std::string LoadResource(std::u16string_view type, std::u16string_view name);
std::string LoadTextResource(std::u16string_view name);

}  // namespace kelvarion::util
