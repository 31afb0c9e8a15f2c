// A singleton without keys, read afresh for every request.

#include "handlers/ext/server_status_class_handler.h"

#include <algorithm>

#include "apache/configuration_generator.h"
#include "doctor/server_status.h"
#include "services/server_control.h"

namespace kelvarion {
namespace {

using Text = Property<std::u16string>;
using Texts = Property<std::vector<std::u16string>>;
using Number = Property<std::uint32_t>;
using Flag = Property<bool>;

constexpr Number kServiceState{u"ServiceState"};
constexpr Number kExitCode{u"ExitCode"};
constexpr Text kLastFailure{u"LastFailure"};
constexpr Text kUrl{u"URL"};
constexpr Texts kListening{u"Listening"};
constexpr Flag kUseSecureConnection{u"UseSecureConnection"};
constexpr Number kAuthType{u"AuthType"};
constexpr Text kRepositoriesRoot{u"RepositoriesRoot"};
constexpr Number kRepositories{u"Repositories"};
constexpr Number kUsers{u"Users"};
constexpr Text kCertificateExpires{u"CertificateExpires"};
constexpr Number kCertificateDaysLeft{u"CertificateDaysLeft"};
constexpr Flag kRestartPending{u"RestartPending"};
constexpr Texts kWarnings{u"Warnings"};
constexpr Flag kChanged{u"Changed"};

}  // namespace

WMIObject ServerStatusClassHandler::Describe() const {
  const doctor::ServerStatus status = doctor::ReadServerStatus(context());
  const settings::ServerSettings& settings = status.settings;
  WMIObject object = SpawnInstance();
  object.Set(kServiceState, settings.service_state);
  object.Set(kExitCode, settings.exit_code);
  object.Set(kLastFailure, status.last_failure);
  object.Set(kUrl, settings.url);
  object.Set(kListening, status.listening);
  object.Set(kUseSecureConnection, settings.use_secure_connection);
  object.Set(kAuthType, settings.auth_type);
  object.Set(kRepositoriesRoot, settings.repositories_root);
  object.SetOptional(kRepositories, status.repositories);
  object.SetOptional(kUsers, status.users);
  if (!status.certificate_expires.empty())
    object.Set(kCertificateExpires, status.certificate_expires);
  if (const auto& days = status.certificate_days_left)
    object.Set(kCertificateDaysLeft, static_cast<std::uint32_t>(std::max<std::int64_t>(*days, 0)));
  object.Set(kRestartPending, status.restart_pending);
  object.Set(kWarnings, status.warnings);
  return object;
}

void ServerStatusClassHandler::Start(MethodCall& call) {
  call.out().Set(kChanged,
                 services::StartServerAndWait(*context().machine().services, call.cancel()));
}

void ServerStatusClassHandler::Stop(MethodCall& call) {
  call.out().Set(kChanged,
                 services::StopServerAndWait(*context().machine().services, call.cancel()));
}

void ServerStatusClassHandler::Restart(MethodCall& call) {
  // What was tested is what the server reads.
  const apache::ConfigurationLock unchanged(context().configuration());
  services::RestartServerAndWait(*context().machine().services, call.cancel());
}

const MethodTable<ServerStatusClassHandler>& ServerStatusClassHandler::Methods() {
  static const MethodTable<ServerStatusClassHandler> table{
      {u"Start", &ServerStatusClassHandler::Start},
      {u"Stop", &ServerStatusClassHandler::Stop},
      {u"Restart", &ServerStatusClassHandler::Restart},
  };
  return table;
}

}  // namespace kelvarion
