#include "services/explained_request.h"

#include "errors/exception.h"
#include "services/service_control.h"

namespace kelvarion::services {
namespace {

constexpr std::uint32_t kFirstMomentsMs = 5000;

void Explain(const ServerContext& context, const std::u16string& service, const Warn& warn) {
  const std::u16string reason = context.machine().services->LastFailure(service);
  if (reason.empty()) return;
  context.events().LogWarning(reason);
  warn(reason);
}

}  // namespace

void RunExplained(const ServerContext& context, const std::u16string& service, const Warn& warn,
                  const Request& request) {
  try {
    request(*context.machine().services);
  } catch (const Exception&) {
    Explain(context, service, warn);
    throw;
  }
}

void RunExplainedStart(const ServerContext& context, const std::u16string& service,
                       const Warn& warn, const Request& request) {
  RunExplained(context, service, warn, request);
  try {
    WaitForState(*context.machine().services, service, platform::SERVICE_RUNNING, kFirstMomentsMs);
  } catch (const Exception&) {
    Explain(context, service, warn);
  }
}

}  // namespace kelvarion::services
