#include "settings/configuration_plan.h"

#include <algorithm>

#include "errors/exception.h"
#include "platform/text/format.h"
#include "repos/root.h"
#include "util/paths.h"

namespace kelvarion::settings {
namespace {

bool IsStandard(char16_t c) {
  return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') ||
         c == u'-' || c == u'.' || c == u'_';
}

void CheckServerName(const std::u16string& name, IcConfigurationNotify& notify) {
  RequireServerName(name);
  if (std::ranges::all_of(name, IsStandard)) return;
  notify.Warning(
      Format(u"The new server name '%s' contains one or more non-standard characters. Using a "
             u"non-standard name can make the server unavailable over the network. It's "
             u"recommended to use only standard symbols, which include letters (A-Z, a-z), "
             u"digits, hyphens, underscores and dots.",
             name));
}

void CheckRoot(const std::u16string& root) {
  if (!util::IsAbsoluteOrNetworkPath(root)) {
    throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS,
                       u"Cannot change 'RepositoriesRoot' property to '%s' because it is not an "
                       u"absolute or a network path",
                       root);
  }
  std::uint32_t attributes = 0;
  if (platform::GetFileAttributes(root, attributes) != ERROR_SUCCESS) {
    throw SimpleException(
        u"Cannot change 'RepositoriesRoot' property to '%s' because the path does not exist.",
        root);
  }
  if ((attributes & platform::FILE_ATTRIBUTE_DIRECTORY) == 0) {
    throw SimpleException(
        u"Cannot change 'RepositoriesRoot' property to '%s' because it is not a directory.", root);
  }
  repos::RequireServableRoot(root);
}

void CheckPrefix(const std::u16string& prefix) {
  if (IsValidUrlPrefix(prefix)) return;
  throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS,
                     u"Cannot change 'RepositoriesURLPrefix' property to '%s'. The URL prefix may "
                     u"either be empty ('') or should begin with a slash and contain alpha, "
                     u"numeric, dash and underscore characters (e.g., '/repos')",
                     prefix);
}

// An absent list keeps the addresses: all of them or those of the present list.
NetworkOptions PlanNetwork(const ServerSettings& now, const ConfigurationChange& change) {
  NetworkOptions network;
  network.secure = change.enable_ssl.value_or(now.use_secure_connection);
  network.port = change.listen_port.value_or(network.secure ? now.secure_port : now.unsecure_port);
  if (change.listening_addresses) {
    if (*change.listening_addresses != std::vector<std::u16string>{kAllAddresses})
      network.addresses = change.listening_addresses;
  } else if (!now.listen_all_ip_addresses) {
    network.addresses = now.listen_ip_addresses;
  }
  RequireNetworkOptions(network);
  return network;
}

AuthenticationOptions PlanAuthentication(const ServerSettings& now,
                                         const ConfigurationChange& change) {
  constexpr std::uint32_t kWindows = 1;
  AuthenticationOptions options;
  options.auth_type = change.authentication_mode.value_or(now.auth_type);
  options.windows_basic = change.basic_authentication.value_or(now.auth_windows_basic);
  options.windows_integrated =
      change.integrated_authentication.value_or(now.auth_windows_integrated);
  options.use_upn_format = now.use_upn_format;
  const bool none = !options.windows_basic && !options.windows_integrated;
  const auto refuse = [] {
    throw SimpleException(
        u"At least one Windows authentication method (Basic or Integrated) should be enabled.");
  };
  if (none && (change.basic_authentication || change.integrated_authentication)) refuse();
  if (options.auth_type > kWindows) {
    throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS,
                       u"%u is not an authentication mode: 0 stands for Subversion, 1 for Windows",
                       options.auth_type);
  }
  if (none && change.authentication_mode == kWindows) refuse();
  return options;
}

}  // namespace

ConfigurationPlan PlanConfiguration(const ServerContext& context, const ConfigurationChange& change,
                                    IcConfigurationNotify& notify) {
  const ServerSettings now = ReadServerSettings(context);
  ConfigurationPlan plan;
  if (change.server_name) CheckServerName(*change.server_name, notify);
  plan.server_name = change.server_name;
  if (change.repositories_root) CheckRoot(*change.repositories_root);
  plan.repositories_root = change.repositories_root;
  if (change.repositories_url_prefix) CheckPrefix(*change.repositories_url_prefix);
  plan.repositories_url_prefix = change.repositories_url_prefix;
  if (change.enable_ssl || change.listen_port || change.listening_addresses)
    plan.network = PlanNetwork(now, change);
  if (change.authentication_mode || change.basic_authentication || change.integrated_authentication)
    plan.authentication = PlanAuthentication(now, change);
  plan.redirect_from_legacy_web_interface = change.redirect_from_legacy_web_interface;
  if (change.operational_logging || change.access_logging) {
    plan.logging = {change.access_logging.value_or(now.access_logging_enabled),
                    change.operational_logging.value_or(now.operational_logging_enabled)};
  }
  return plan;
}

}  // namespace kelvarion::settings
