// Compiles the schema files of a folder.
#pragma once

#include "platform/wmi/mof/linker.h"

namespace kelvarion::platform::wmi::mof {

// All *.mof files of the folder (UTF-8 path) and those that they include. Throws CompileError, also
// when the folder has none or a file cannot be read.
Classes CompileFolder(const std::string& folder);

}  // namespace kelvarion::platform::wmi::mof
