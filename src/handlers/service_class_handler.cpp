// One instance, key Name = "KelvarionServer" in any letter case. Everything is read afresh for
// every request; all changes go through methods, and none of them restarts the web server.

#include "handlers/service_class_handler.h"

#include "apache/configuration_generator.h"
#include "repos/root.h"
#include "services/explained_request.h"
#include "services/server_service.h"

namespace kelvarion {
namespace {

using Text = Property<std::u16string>;
using Number = Property<std::uint32_t>;
using Flag = Property<bool>;
using TextList = Property<std::vector<std::u16string>>;

constexpr Number kServiceState{u"ServiceState"};
constexpr Number kExitCode{u"ExitCode"};
constexpr Text kUrl{u"URL"};
constexpr Text kRepositoriesRoot{u"RepositoriesRoot"};
constexpr Text kRepositoriesUrlPrefix{u"RepositoriesURLPrefix"};
constexpr Flag kAdjustRepositoriesRootPermissions{u"AdjustRepositoriesRootPermissions"};
constexpr Text kServerName{u"ServerName"};
constexpr Flag kUseCustomServerName{u"UseCustomServerName"};
constexpr Text kCustomServerName{u"CustomServerName"};
constexpr Flag kIsDomainController{u"IsDomainController"};
constexpr Flag kUseSecureConnection{u"UseSecureConnection"};
constexpr Number kUnsecurePort{u"UnsecurePort"};
constexpr Number kSecurePort{u"SecurePort"};
constexpr Number kAuthType{u"AuthType"};
constexpr Flag kUseUpnFormat{u"UseUPNFormat"};
constexpr Flag kListenAllIpAddresses{u"ListenAllIPAddresses"};
constexpr TextList kListenIpAddressesArray{u"ListenIPAddressesArray"};
constexpr Flag kAuthWindowsBasic{u"AuthWindowsBasic"};
constexpr Flag kAuthWindowsIntegrated{u"AuthWindowsIntegrated"};
constexpr Flag kAccessLoggingEnabled{u"AccessLoggingEnabled"};
constexpr Flag kOperationalLoggingEnabled{u"OperationalLoggingEnabled"};
constexpr Flag kRedirectFromLegacyWebInterface{u"RedirectFromLegacyWebInterface"};

constexpr Flag kForceCreate{u"ForceCreate"};
constexpr Flag kAdjustPermissions{u"AdjustPermissions"};
constexpr Flag kUseCustom{u"UseCustom"};
constexpr Number kPort{u"Port"};
constexpr Flag kWindowsBasic{u"WindowsBasic"};
constexpr Flag kWindowsIntegrated{u"WindowsIntegrated"};
constexpr Flag kEnableAccessLogging{u"EnableAccessLogging"};
constexpr Flag kEnableOperationalLogging{u"EnableOperationalLogging"};
constexpr Number kReturnValue{u"ReturnValue"};

}  // namespace

WMIObject ServiceClassHandler::Describe() const {
  const settings::ServerSettings server = settings::ReadServerSettings(context());
  WMIObject service = SpawnNamed();
  service.Set(kServiceState, server.service_state);
  service.Set(kExitCode, server.exit_code);
  service.Set(kUrl, server.url);
  service.Set(kRepositoriesRoot, server.repositories_root);
  service.Set(kRepositoriesUrlPrefix, server.repositories_url_prefix);
  service.Set(kAdjustRepositoriesRootPermissions, server.adjust_repositories_root_permissions);
  service.Set(kServerName, server.server_name);
  service.Set(kUseCustomServerName, server.use_custom_server_name);
  service.Set(kCustomServerName, server.custom_server_name);
  service.Set(kIsDomainController, server.is_domain_controller);
  service.Set(kUseSecureConnection, server.use_secure_connection);
  service.Set(kUnsecurePort, server.unsecure_port);
  service.Set(kSecurePort, server.secure_port);
  service.Set(kAuthType, server.auth_type);
  service.Set(kUseUpnFormat, server.use_upn_format);
  service.Set(kListenAllIpAddresses, server.listen_all_ip_addresses);
  service.Set(kListenIpAddressesArray, server.listen_ip_addresses);
  service.Set(kAuthWindowsBasic, server.auth_windows_basic);
  service.Set(kAuthWindowsIntegrated, server.auth_windows_integrated);
  service.Set(kAccessLoggingEnabled, server.access_logging_enabled);
  service.Set(kOperationalLoggingEnabled, server.operational_logging_enabled);
  service.Set(kRedirectFromLegacyWebInterface, server.redirect_from_legacy_web_interface);
  return service;
}

void ServiceClassHandler::SetRepositoriesRoot(MethodCall& call) {
  const auto result = repos::SetRepositoriesRoot(
      context(), call.in(kRepositoriesRoot),
      call.in(kAdjustPermissions) ? repos::AdjustPermissions::kYes : repos::AdjustPermissions::kNo,
      call.in(kForceCreate) ? repos::CreateMissing::kYes : repos::CreateMissing::kNo);
  call.out().Set(kReturnValue, static_cast<std::uint32_t>(result));
}

void ServiceClassHandler::SetServerName(MethodCall& call) {
  const bool use_custom = call.in(kUseCustom);
  settings::SetServerName(context(), use_custom ? call.in(kCustomServerName) : std::u16string());
}

void ServiceClassHandler::SetNetworkOptions(MethodCall& call) {
  settings::NetworkOptions options;
  options.port = call.in(kPort);
  options.secure = call.in(kUseSecureConnection);
  options.addresses = call.optional_in(kListenIpAddressesArray);
  settings::SetNetworkOptions(context(), options, settings::CheckPort::kYes);
}

void ServiceClassHandler::SetAuthenticationOptions(MethodCall& call) {
  settings::AuthenticationOptions options;
  options.auth_type = call.in(kAuthType);
  options.windows_basic = call.in(kWindowsBasic);
  options.windows_integrated = call.in(kWindowsIntegrated);
  options.use_upn_format = call.in(kUseUpnFormat);
  settings::SetAuthenticationOptions(context(), options);
}

void ServiceClassHandler::SetLoggingOptions(MethodCall& call) {
  settings::SetLoggingOptions(context(), call.in(kEnableAccessLogging),
                              call.in(kEnableOperationalLogging));
}

void ServiceClassHandler::StartService(MethodCall& call) {
  services::RunExplainedStart(context(), services::kServerServiceName, call.warn(),
                              services::StartServer);
}

void ServiceClassHandler::StopService(MethodCall& call) {
  services::RunExplained(context(), services::kServerServiceName, call.warn(),
                         services::StopServer);
}

void ServiceClassHandler::RestartService(MethodCall& call) {
  const apache::ConfigurationLock unchanged(context().configuration());
  services::RunExplainedStart(context(), services::kServerServiceName, call.warn(),
                              services::RestartServer);
}

void ServiceClassHandler::SetRepositoriesURLPrefix(MethodCall& call) {
  settings::SetRepositoriesUrlPrefix(context(), call.in(kRepositoriesUrlPrefix));
}

void ServiceClassHandler::SetWebInterfaceOptions(MethodCall& call) {
  settings::SetWebInterfaceOptions(context(), call.in(kRedirectFromLegacyWebInterface));
}

const MethodTable<ServiceClassHandler>& ServiceClassHandler::Methods() {
  static const MethodTable<ServiceClassHandler> table{
      {u"GetCertificateInformation", &ServiceClassHandler::GetCertificateInformation},
      {u"ImportCertificate", &ServiceClassHandler::ImportCertificate},
      {u"ValidateCertificate", &ServiceClassHandler::ValidateCertificate},
      {u"CreateSelfSignedCertificate", &ServiceClassHandler::CreateSelfSignedCertificate},
      {u"CreateCertificateRequest", &ServiceClassHandler::CreateCertificateRequest},
      {u"SetRepositoriesRoot", &ServiceClassHandler::SetRepositoriesRoot},
      {u"SetServerName", &ServiceClassHandler::SetServerName},
      {u"SetNetworkOptions", &ServiceClassHandler::SetNetworkOptions},
      {u"SetAuthenticationOptions", &ServiceClassHandler::SetAuthenticationOptions},
      {u"SetLoggingOptions", &ServiceClassHandler::SetLoggingOptions},
      {u"StartService", &ServiceClassHandler::StartService},
      {u"StopService", &ServiceClassHandler::StopService},
      {u"RestartService", &ServiceClassHandler::RestartService},
      {u"GetRepositorySupervisors", &ServiceClassHandler::GetRepositorySupervisors},
      {u"SetRepositorySupervisors", &ServiceClassHandler::SetRepositorySupervisors},
      {u"GetServerAdmins", &ServiceClassHandler::GetServerAdmins},
      {u"SetServerAdmins", &ServiceClassHandler::SetServerAdmins},
      {u"SetRepositoriesURLPrefix", &ServiceClassHandler::SetRepositoriesURLPrefix},
      {u"SetWebInterfaceOptions", &ServiceClassHandler::SetWebInterfaceOptions},
  };
  return table;
}

}  // namespace kelvarion
