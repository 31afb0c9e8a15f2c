// The classes that the provider library serves, by which hosts ask for them.
#pragma once

#include "platform/com/types.h"

namespace kelvarion {

inline constexpr Guid CLSID_KelvarionWMIProvider{
    0x565B8FB4, 0xEE30, 0x4EE3, {0x9B, 0x5B, 0xE2, 0x85, 0x67, 0x8F, 0x1F, 0x9D}};

// The provider that hands its requests on to the repository configurator.
inline constexpr Guid CLSID_RepoManagerProviderProxy{
    0xB006C93F, 0x3057, 0x4F95, {0x81, 0x84, 0x93, 0x82, 0x03, 0x5E, 0x26, 0xFB}};

}  // namespace kelvarion
