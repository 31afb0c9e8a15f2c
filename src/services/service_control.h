// The steps that the two services' operations share.
#pragma once

#include <cstdint>
#include <string>

#include "platform/services/service_manager.h"

namespace kelvarion::services {

platform::ServiceStatus QueryStatus(const platform::ServiceManager& manager,
                                    const std::u16string& name);
platform::ServiceConfig QueryConfig(const platform::ServiceManager& manager,
                                    const std::u16string& name);
void Start(platform::ServiceManager& manager, const std::u16string& name);
void Stop(platform::ServiceManager& manager, const std::u16string& name);
void Restart(platform::ServiceManager& manager, const std::u16string& name);
void SetStartType(platform::ServiceManager& manager, const std::u16string& name,
                  std::uint32_t start_type);
bool WaitForState(const platform::ServiceManager& manager, const std::u16string& name,
                  std::uint32_t state, std::uint32_t timeout_ms);

}  // namespace kelvarion::services
