#include "services/ormu_service.h"

#include "services/service_control.h"

namespace kelvarion::services {

platform::ServiceStatus QueryOrmuStatus(const platform::ServiceManager& manager) {
  return QueryStatus(manager, kOrmuServiceName);
}

platform::ServiceConfig QueryOrmuConfig(const platform::ServiceManager& manager) {
  return QueryConfig(manager, kOrmuServiceName);
}

void StartOrmu(platform::ServiceManager& manager) { Start(manager, kOrmuServiceName); }

void StopOrmu(platform::ServiceManager& manager) { Stop(manager, kOrmuServiceName); }

void SetOrmuStartMode(platform::ServiceManager& manager, std::uint32_t start_type) {
  SetStartType(manager, kOrmuServiceName, start_type);
}

bool WaitForOrmuState(const platform::ServiceManager& manager, std::uint32_t state,
                      std::uint32_t timeout_ms) {
  return WaitForState(manager, kOrmuServiceName, state, timeout_ms);
}

}  // namespace kelvarion::services
