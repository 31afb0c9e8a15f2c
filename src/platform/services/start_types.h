// How each service of a home is to be started, kept in the home's file services.conf.
#pragma once

#include <cstdint>
#include <string>

#include "platform/services/service.h"

namespace kelvarion::platform {

// The service's default until it was changed.
std::uint32_t ReadStartType(const std::string& home, const Service& service);
Win32Error WriteStartType(const std::string& home, const Service& service,
                          std::uint32_t start_type);

}  // namespace kelvarion::platform
