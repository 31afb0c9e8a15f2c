// The provider library of this build, as installers and hosts use it.
#pragma once

#include <dlfcn.h>

#include <stdexcept>
#include <string>

#include "platform/com/types.h"

namespace kelvarion::testing {

inline std::string ProviderLibrary() { return KELVARION_BUILD_DIR "/lib/libkelvarion_provider.so"; }

// An entry point that the library exports.
template <class Function>
Function* Export(const char* name) {
  void* const library = dlopen(ProviderLibrary().c_str(), RTLD_NOW | RTLD_LOCAL);
  void* const function = library ? dlsym(library, name) : nullptr;
  if (!function) throw std::runtime_error(dlerror());
  return reinterpret_cast<Function*>(function);
}

inline HRESULT DllInstall(bool install, const char16_t* command_line) {
  return Export<HRESULT(std::int32_t, const char16_t*)>("DllInstall")(install ? 1 : 0,
                                                                      command_line);
}

inline constexpr Guid kProvider{
    0x565B8FB4, 0xEE30, 0x4EE3, {0x9B, 0x5B, 0xE2, 0x85, 0x67, 0x8F, 0x1F, 0x9D}};
inline constexpr Guid kProxy{
    0xB006C93F, 0x3057, 0x4F95, {0x81, 0x84, 0x93, 0x82, 0x03, 0x5E, 0x26, 0xFB}};

}  // namespace kelvarion::testing
