// Control of the replication service, ormusvc.
//
// Every call opens the service anew and keeps nothing. Start and stop return when the request has
// been accepted. All failures are Win32Exception with the service manager's error.
#pragma once

#include <cstdint>

#include "platform/services/service_manager.h"

namespace kelvarion::services {

inline constexpr const char16_t* kOrmuServiceName = u"ormusvc";

platform::ServiceStatus QueryOrmuStatus(const platform::ServiceManager& manager);
platform::ServiceConfig QueryOrmuConfig(const platform::ServiceManager& manager);

void StartOrmu(platform::ServiceManager& manager);
void StopOrmu(platform::ServiceManager& manager);
// `start_type` is one of SERVICE_AUTO_START, SERVICE_DEMAND_START and SERVICE_DISABLED; the manager
// refuses any other.
void SetOrmuStartMode(platform::ServiceManager& manager, std::uint32_t start_type);

// As WaitForServerState.
bool WaitForOrmuState(const platform::ServiceManager& manager, std::uint32_t state,
                      std::uint32_t timeout_ms);

}  // namespace kelvarion::services
