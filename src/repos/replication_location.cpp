#include "repos/replication_location.h"

#include "apache/configuration_generator.h"
#include "apache/pending_changes.h"
#include "errors/exception.h"
#include "services/server_service.h"

namespace kelvarion::repos {
namespace {

// The time tells it also when an earlier restart for the same change has failed.
void Update(const ServerContext& context, const services::Warn& warn) {
  const IcRegistryAccessor& store = context.configuration();
  const bool generated = apache::RegenerateReplicationConfig(store);
  // What is tested for the server is what it reads.
  const apache::ConfigurationLock unchanged(store);
  const std::int64_t read =
      context.machine().services->ConfigurationTime(services::kServerServiceName);
  if (read == 0) return;  // It does not run.
  std::vector<std::u16string> changed = apache::FilesChangedSince(store, read);
  const bool is_news = std::erase(changed, apache::kReplicationFile) > 0 || generated;
  if (!is_news) return;
  if (changed.empty())
    return services::RunExplained(context, services::kServerServiceName, warn,
                                  services::RestartServer);
  // Whoever changed that has not asked for it to count yet.
  const std::u16string text = Format(
      u"The web server learns whose masters can be replicated when it is restarted; that is "
      u"left to you, since '%s' has been changed as well.",
      changed.front());
  context.events().LogWarning(text);
  warn(text);
}

}  // namespace

void UpdateReplicationLocation(const ServerContext& context, const services::Warn& warn) {
  const services::Warn tell = warn ? warn : [](const std::u16string&) {};
  try {
    Update(context, tell);
  } catch (const Exception& exception) {
    context.events().LogException(exception);
    tell(Format(u"The web server does not know yet whose masters can be replicated: %s",
                exception.Message()));
  }
}

}  // namespace kelvarion::repos
