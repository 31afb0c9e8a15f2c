// Registration of the classes that a shared library serves.
#pragma once

#include <string>

#include "platform/com/types.h"

namespace kelvarion {

// Loads the library (UTF-8 path) and calls its DllRegisterServer, which writes the library's
// classes into the registry of the current machine. Its result; ERROR_MOD_NOT_FOUND for a library
// that does not load or registers nothing, with the reason in `load_error`. The library stays
// loaded.
HRESULT RegisterClassLibrary(const std::string& path, std::string& load_error);

enum class InstallFor { kMachine, kUser };

// Loads the library and calls its DllInstall, which writes its classes for the machine or the
// current user, or removes them. Result and reason as above.
HRESULT InstallClassLibrary(const std::string& path, bool install, InstallFor whom,
                            std::string& load_error);

}  // namespace kelvarion
