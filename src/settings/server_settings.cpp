#include "settings/server_settings.h"

#include "repos/url.h"
#include "services/server_service.h"

namespace kelvarion::settings {

ServerSettings ReadServerSettings(const ServerContext& context) {
  const IcRegistryAccessor& store = context.configuration();
  const platform::ServiceStatus status = services::QueryServerStatus(*context.machine().services);

  ServerSettings settings;
  settings.service_state = status.current_state;
  settings.exit_code = status.win32_exit_code;
  settings.url = repos::BuildRepositoryUrl(u"", u"", repos::ReadUrlSettings(store));
  settings.repositories_root = store.GetRepositoriesRoot(std::nullopt);
  settings.repositories_url_prefix = store.GetRepositoriesURLPrefix();
  settings.adjust_repositories_root_permissions = store.GetAdjustRepositoriesRootPermissions();
  settings.server_name = repos::PublicHostName(store);
  settings.custom_server_name = store.GetServerName();
  settings.use_custom_server_name = !settings.custom_server_name.empty();
  settings.is_domain_controller = false;  // This system never is one.
  settings.use_secure_connection = store.GetUseSSL();
  settings.unsecure_port = static_cast<std::uint32_t>(store.GetServerPort(false));
  settings.secure_port = static_cast<std::uint32_t>(store.GetServerPort(true));
  settings.auth_type = store.GetUseWindowsAuth() ? 1 : 0;
  settings.use_upn_format = store.GetUseUPNFormat();
  settings.listen_all_ip_addresses = !store.GetUseServerBindings();
  settings.listen_ip_addresses = store.GetServerBindings();
  settings.auth_windows_basic = store.IsWindowsBasicEnabled();
  settings.auth_windows_integrated = store.GetEnableWindowsIntegrated();
  settings.access_logging_enabled = store.GetEnableAccessLogging();
  settings.operational_logging_enabled = store.GetEnableOperationalLogging();
  settings.redirect_from_legacy_web_interface = store.GetRedirectFromLegacyWebInterface();
  return settings;
}

}  // namespace kelvarion::settings
