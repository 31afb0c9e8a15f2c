// The provider library's classes as the registry of a home knows them.
#pragma once

#include "platform/com/types.h"

namespace kelvarion::host {

// The provider that hands its requests on to the repository configurator.
inline constexpr Guid kRepositoryConfiguratorProxyClass{
    0xB006C93F, 0x3057, 0x4F95, {0x81, 0x84, 0x93, 0x82, 0x03, 0x5E, 0x26, 0xFB}};

}  // namespace kelvarion::host
