// One instance, key Name = "ormusvc" in any letter case; its state is that of the moment of the
// request. Starting and stopping do not wait for the service.

#include "handlers/ormu_service_class_handler.h"

#include "access/windows_groups.h"
#include "services/explained_request.h"

namespace kelvarion {
namespace {

using Number = Property<std::uint32_t>;

constexpr Number kServiceState{u"ServiceState"};
constexpr Number kExitCode{u"ExitCode"};
constexpr Number kStartMode{u"StartMode"};
constexpr Property<std::vector<WMIObject>> kPartners{u"Partners"};

}  // namespace

WMIObject OrmuServiceClassHandler::Describe() const {
  const platform::ServiceManager& manager = *context().machine().services;
  const platform::ServiceStatus status = services::QueryOrmuStatus(manager);
  WMIObject service = SpawnNamed();
  service.Set(kServiceState, status.current_state);
  service.Set(kExitCode, status.win32_exit_code);
  service.Set(kStartMode, services::QueryOrmuConfig(manager).start_type);
  return service;
}

void OrmuServiceClassHandler::StartService(MethodCall& call) {
  services::RunExplained(context(), services::kOrmuServiceName, call.warn(), services::StartOrmu);
}

void OrmuServiceClassHandler::StopService(MethodCall& call) {
  services::RunExplained(context(), services::kOrmuServiceName, call.warn(), services::StopOrmu);
}

void OrmuServiceClassHandler::ChangeStartMode(MethodCall& call) {
  services::SetOrmuStartMode(*context().machine().services, call.in(kStartMode));
}

void OrmuServiceClassHandler::GetReplicationPartners(MethodCall& call) {
  call.out().Set(kPartners, accounts_.ToWindowsAccounts(access::GetGroupMembers(
                                *context().machine().security, access::kReplicationPartnersGroup)));
}

void OrmuServiceClassHandler::SetReplicationPartners(MethodCall& call) {
  access::SetGroupMembers(*context().machine().security, access::kReplicationPartnersGroup,
                          accounts_.ToSids(call.in_params(), kPartners));
}

const MethodTable<OrmuServiceClassHandler>& OrmuServiceClassHandler::Methods() {
  static const MethodTable<OrmuServiceClassHandler> table{
      {u"StartService", &OrmuServiceClassHandler::StartService},
      {u"StopService", &OrmuServiceClassHandler::StopService},
      {u"ChangeStartMode", &OrmuServiceClassHandler::ChangeStartMode},
      {u"GetReplicationPartners", &OrmuServiceClassHandler::GetReplicationPartners},
      {u"SetReplicationPartners", &OrmuServiceClassHandler::SetReplicationPartners},
  };
  return table;
}

}  // namespace kelvarion
