// Without keys: the settings there are.

#include "handlers/ps/server_configuration_class_handler.h"

#include "handlers/ps/cmdlet.h"
#include "handlers/ps/progress_adapters.h"
#include "settings/configuration_change.h"
#include "settings/server_settings.h"

namespace kelvarion {
namespace {

using Text = Property<std::u16string>;
using Number = Property<std::uint32_t>;
using Flag = Property<bool>;

// Properties and parameters of Set alike.
constexpr Text kServerName{u"ServerName"};
constexpr Text kRepositoriesRoot{u"RepositoriesRoot"};
constexpr Text kRepositoriesUrlPrefix{u"RepositoriesURLPrefix"};
constexpr Number kListenPort{u"ListenPort"};
constexpr Property<std::vector<std::u16string>> kListeningIpAddress{u"ListeningIPAddress"};
constexpr Flag kEnableSsl{u"EnableSSL"};
constexpr Number kAuthenticationMode{u"AuthenticationMode"};
constexpr Flag kEnableBasicAuthentication{u"EnableBasicAuthentication"};
constexpr Flag kEnableIntegratedAuthentication{u"EnableIntegratedAuthentication"};
constexpr Flag kRedirectFromLegacyWebInterface{u"RedirectFromLegacyWebInterface"};
constexpr Flag kEnableOperationalLogging{u"EnableOperationalLogging"};
constexpr Flag kEnableAccessLogging{u"EnableAccessLogging"};

class ConfigurationNotifyAdapter final : public settings::IcConfigurationNotify, ProgressAdapter {
 public:
  explicit ConfigurationNotifyAdapter(ResponseSink& sink)
      : ProgressAdapter(sink, u"Set-SvnServerConfiguration", RecordTimer::Now) {}

  void Warning(const std::u16string& text) override { WriteWarning(text); }
  void ServiceChanging(const std::u16string& what) override { Write(std::nullopt, what, -1); }
};

settings::ConfigurationChange ReadChange(const MethodCall& call) {
  settings::ConfigurationChange change;
  change.server_name = call.optional_in(kServerName);
  change.repositories_root = call.optional_in(kRepositoriesRoot);
  change.repositories_url_prefix = call.optional_in(kRepositoriesUrlPrefix);
  change.listen_port = call.optional_in(kListenPort);
  change.listening_addresses = call.optional_in(kListeningIpAddress);
  change.enable_ssl = call.optional_in(kEnableSsl);
  change.authentication_mode = call.optional_in(kAuthenticationMode);
  change.basic_authentication = call.optional_in(kEnableBasicAuthentication);
  change.integrated_authentication = call.optional_in(kEnableIntegratedAuthentication);
  change.redirect_from_legacy_web_interface = call.optional_in(kRedirectFromLegacyWebInterface);
  change.operational_logging = call.optional_in(kEnableOperationalLogging);
  change.access_logging = call.optional_in(kEnableAccessLogging);
  return change;
}

}  // namespace

WMIObject PS_ServerConfigurationClassHandler::Describe() const {
  const settings::ServerSettings server = settings::ReadServerSettings(context());
  WMIObject configuration = SpawnInstance();
  configuration.Set(kServerName, server.server_name);
  configuration.Set(kRepositoriesRoot, server.repositories_root);
  configuration.Set(kRepositoriesUrlPrefix, server.repositories_url_prefix);
  configuration.Set(kListenPort,
                    server.use_secure_connection ? server.secure_port : server.unsecure_port);
  configuration.Set(kListeningIpAddress, server.listen_all_ip_addresses
                                             ? std::vector<std::u16string>{settings::kAllAddresses}
                                             : server.listen_ip_addresses);
  configuration.Set(kEnableSsl, server.use_secure_connection);
  configuration.Set(kAuthenticationMode, server.auth_type);
  configuration.Set(kEnableBasicAuthentication, server.auth_windows_basic);
  configuration.Set(kEnableIntegratedAuthentication, server.auth_windows_integrated);
  configuration.Set(kRedirectFromLegacyWebInterface, server.redirect_from_legacy_web_interface);
  configuration.Set(kEnableOperationalLogging, server.operational_logging_enabled);
  configuration.Set(kEnableAccessLogging, server.access_logging_enabled);
  return configuration;
}

void PS_ServerConfigurationClassHandler::Get(MethodCall& call) { cmdlet::Output(call, Describe()); }

void PS_ServerConfigurationClassHandler::Set(MethodCall& call) {
  ConfigurationNotifyAdapter notify(call.sink());
  const bool changed = settings::ChangeConfiguration(context(), ReadChange(call), notify);
  if (changed && cmdlet::PassThru(call)) cmdlet::Output(call, Describe());
}

const MethodTable<PS_ServerConfigurationClassHandler>&
PS_ServerConfigurationClassHandler::Methods() {
  using Self = PS_ServerConfigurationClassHandler;
  static const MethodTable<Self> table{{u"Get", &Self::Get}, {u"Set", &Self::Set}};
  return table;
}

}  // namespace kelvarion
