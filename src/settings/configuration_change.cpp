// A change is planned as a whole before anything is stored, then applied group by group in the
// order of the plan's members, then taken up by the services that run.
#include "settings/configuration_change.h"

#include "apache/configuration_generator.h"
#include "errors/exception.h"
#include "repos/root.h"
#include "services/explained_request.h"
#include "services/ormu_service.h"
#include "services/server_service.h"
#include "settings/configuration_plan.h"

namespace kelvarion::settings {
namespace {

void ApplyRoot(const ServerContext& context, const std::u16string& root) {
  const auto adjust = context.configuration().GetAdjustRepositoriesRootPermissions()
                          ? repos::AdjustPermissions::kYes
                          : repos::AdjustPermissions::kNo;
  // It was there when the change was planned.
  if (repos::SetRepositoriesRoot(context, root, adjust, repos::CreateMissing::kNo) !=
      repos::SetRootResult::kDone) {
    throw SimpleException(
        u"Cannot change 'RepositoriesRoot' property to '%s' because the path does not exist.",
        root);
  }
}

void Apply(const ServerContext& context, const ConfigurationPlan& plan) {
  if (plan.server_name) SetServerName(context, *plan.server_name);
  if (plan.network) SetNetworkOptions(context, *plan.network, CheckPort::kNo);
  if (plan.repositories_root) ApplyRoot(context, *plan.repositories_root);
  if (plan.repositories_url_prefix)
    SetRepositoriesUrlPrefix(context, *plan.repositories_url_prefix);
  if (plan.authentication) SetAuthenticationOptions(context, *plan.authentication);
  if (plan.redirect_from_legacy_web_interface)
    SetWebInterfaceOptions(context, *plan.redirect_from_legacy_web_interface);
  if (plan.logging) SetLoggingOptions(context, plan.logging->access, plan.logging->operational);
}

// Each step tells what begins and waits for it to be done.
class Restart {
 public:
  Restart(const ServerContext& context, IcConfigurationNotify& notify, std::uint32_t timeout_ms)
      : context_(context),
        notify_(notify),
        timeout_ms_(timeout_ms),
        warn_([this](const std::u16string& text) { notify_.Warning(text); }) {}

  void Server() const {
    const apache::ConfigurationLock unchanged(context_.configuration());
    if (!ServerIsUp()) return;
    notify_.ServiceChanging(u"Restarting HTTP service");
    services::RunExplained(
        context_, services::kServerServiceName, warn_, [this](platform::ServiceManager& manager) {
          services::RestartServer(manager);
          Require(services::WaitForServerState(manager, platform::SERVICE_RUNNING, timeout_ms_),
                  u"Timeout waiting for HTTP service to restart.");
        });
  }

  void Ormu() const {
    if (services::QueryOrmuConfig(manager()).start_type == platform::SERVICE_DISABLED) return;
    if (services::QueryOrmuStatus(manager()).current_state != platform::SERVICE_RUNNING) return;
    services::RunExplained(
        context_, services::kOrmuServiceName, warn_, [this](platform::ServiceManager& manager) {
          notify_.ServiceChanging(u"Stopping ORMU service");
          services::StopOrmu(manager);
          Require(services::WaitForOrmuState(manager, platform::SERVICE_STOPPED, timeout_ms_),
                  u"Timeout waiting for ORMU service to stop.");
          notify_.ServiceChanging(u"Starting ORMU service");
          services::StartOrmu(manager);
          Require(services::WaitForOrmuState(manager, platform::SERVICE_RUNNING, timeout_ms_),
                  u"Timeout waiting for ORMU service to start.");
        });
  }

 private:
  platform::ServiceManager& manager() const { return *context_.machine().services; }
  // One that is coming up may have read the settings of before, so its start is waited for; should
  // that fail, there is nothing to restart.
  bool ServerIsUp() const {
    const std::uint32_t state = services::QueryServerStatus(manager()).current_state;
    if (state != platform::SERVICE_START_PENDING) return state == platform::SERVICE_RUNNING;
    try {
      return services::WaitForServerState(manager(), platform::SERVICE_RUNNING, timeout_ms_);
    } catch (const Win32Exception&) {
      return false;
    }
  }
  static void Require(bool reached, const char16_t* otherwise) {
    if (!reached) throw SimpleException(u"%s", otherwise);
  }

  const ServerContext& context_;
  IcConfigurationNotify& notify_;
  const std::uint32_t timeout_ms_;
  const services::Warn warn_;
};

}  // namespace

bool ChangeConfiguration(const ServerContext& context, const ConfigurationChange& change,
                         IcConfigurationNotify& notify, std::uint32_t timeout_ms) {
  const ConfigurationPlan plan = PlanConfiguration(context, change, notify);
  if (plan.IsEmpty()) return false;
  Apply(context, plan);
  const Restart restart(context, notify, timeout_ms);
  restart.Server();
  if (plan.repositories_root) restart.Ormu();
  return true;
}

}  // namespace kelvarion::settings
