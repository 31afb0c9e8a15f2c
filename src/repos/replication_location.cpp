#include "repos/replication_location.h"

#include "apache/configuration_generator.h"
#include "errors/exception.h"
#include "services/server_service.h"

namespace kelvarion::repos {

void UpdateReplicationLocation(const ServerContext& context) {
  platform::ServiceManager& manager = *context.machine().services;
  try {
    if (apache::RegenerateReplicationConfig(context.configuration()) &&
        services::QueryServerStatus(manager).current_state == platform::SERVICE_RUNNING)
      services::RestartServer(manager);
  } catch (const Exception& exception) {
    context.events().LogException(exception);
  }
}

}  // namespace kelvarion::repos
