#include "platform/com/register_library.h"

#include <dlfcn.h>

namespace kelvarion {

HRESULT RegisterClassLibrary(const std::string& path, std::string& load_error) {
  constexpr HRESULT kModuleNotFound = HresultFromWin32(ERROR_MOD_NOT_FOUND);
  void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!library) {
    load_error = dlerror();
    return kModuleNotFound;
  }
  const auto entry = reinterpret_cast<HRESULT (*)()>(dlsym(library, "DllRegisterServer"));
  if (!entry) {
    load_error = path + ": no DllRegisterServer";
    return kModuleNotFound;
  }
  return entry();
}

}  // namespace kelvarion
