#include "platform/com/register_library.h"

#include <dlfcn.h>

namespace kelvarion {
namespace {

// Null when there is none, with the reason.
void* EntryPoint(const std::string& path, const char* name, std::string& load_error) {
  void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!library) {
    load_error = dlerror();
    return nullptr;
  }
  void* const entry = dlsym(library, name);
  if (!entry) load_error = path + ": no " + name;
  return entry;
}

}  // namespace

HRESULT RegisterClassLibrary(const std::string& path, std::string& load_error) {
  using Register = HRESULT (*)();
  void* const entry = EntryPoint(path, "DllRegisterServer", load_error);
  return entry ? reinterpret_cast<Register>(entry)() : HresultFromWin32(ERROR_MOD_NOT_FOUND);
}

HRESULT InstallClassLibrary(const std::string& path, bool install, InstallFor whom,
                            std::string& load_error) {
  using Install = HRESULT (*)(std::int32_t install, const char16_t* command_line);
  void* const entry = EntryPoint(path, "DllInstall", load_error);
  if (!entry) return HresultFromWin32(ERROR_MOD_NOT_FOUND);
  return reinterpret_cast<Install>(entry)(install ? 1 : 0,
                                          whom == InstallFor::kUser ? u"user" : nullptr);
}

}  // namespace kelvarion
