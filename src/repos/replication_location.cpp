#include "repos/replication_location.h"

#include <algorithm>

#include "apache/configuration_generator.h"
#include "apache/pending_changes.h"
#include "errors/exception.h"
#include "services/server_service.h"

namespace kelvarion::repos {
namespace {

// The time tells it also when an earlier restart for the same change has failed.
void Update(const ServerContext& context) {
  const IcRegistryAccessor& store = context.configuration();
  platform::ServiceManager& manager = *context.machine().services;
  const bool generated = apache::RegenerateReplicationConfig(store);
  // What is tested for the server is what it reads.
  const apache::ConfigurationLock unchanged(store);
  const std::int64_t read = manager.ConfigurationTime(services::kServerServiceName);
  if (read == 0) return;  // It does not run.
  std::vector<std::u16string> changed = apache::FilesChangedSince(store, read);
  const bool is_news = std::erase(changed, apache::kReplicationFile) > 0 || generated;
  if (!is_news) return;
  if (changed.empty()) return services::RestartServer(manager);
  // Whoever changed that has not asked for it to count yet.
  context.events().LogWarning(
      Format(u"The web server learns whose masters can be replicated when it is restarted; that is "
             u"left to you, since '%s' has been changed as well.",
             changed.front()));
}

}  // namespace

void UpdateReplicationLocation(const ServerContext& context) {
  try {
    Update(context);
  } catch (const Exception& exception) {
    context.events().LogException(exception);
  }
}

}  // namespace kelvarion::repos
