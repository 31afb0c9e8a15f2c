// The changes of settings: each refuses what it cannot take, stores the rest and generates the
// configuration.
#include <algorithm>

#include "apache/configuration_generator.h"
#include "apache/values.h"
#include "errors/exception.h"
#include "services/server_service.h"
#include "settings/server_settings.h"
#include "util/ports.h"

namespace kelvarion::settings {
namespace {

constexpr std::uint32_t kHighestPort = 65535;

bool ServerRunsOn(const ServerContext& context, std::uint32_t port) {
  const IcRegistryAccessor& store = context.configuration();
  return services::QueryServerStatus(*context.machine().services).current_state ==
             platform::SERVICE_RUNNING &&
         store.GetServerPort(store.GetUseSSL()) == static_cast<int>(port);
}

}  // namespace

void RequireNetworkOptions(const NetworkOptions& options) {
  if (options.port < 1 || options.port > kHighestPort) {
    throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS,
                       u"%u is not a TCP port: ports are 1 to 65535", options.port);
  }
  if (!options.addresses) return;
  for (const std::u16string& address : *options.addresses) {
    // Whether the server can listen there shows when it is told to; here only what would break its
    // configuration is refused.
    if (!apache::IsListenAddress(address)) {
      throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS, u"'%s' is not an address to listen on",
                         address);
    }
  }
}

// Names that are merely unusual are the caller's business; these would break every URL.
bool IsValidServerName(const std::u16string& name) {
  return apache::IsQuotable(name) && name.find_first_of(u"/\\") == name.npos;
}

void RequireServerName(const std::u16string& name) {
  if (!IsValidServerName(name)) {
    throw WMIException(
        WBEM_E_INVALID_METHOD_PARAMETERS,
        u"A server name must not contain slashes, quotation marks or control characters");
  }
}

void SetServerName(const ServerContext& context, const std::u16string& custom_name) {
  RequireServerName(custom_name);
  context.configuration().SetServerName(custom_name);
  apache::RegenerateApacheConfig(context.configuration());
}

void SetNetworkOptions(const ServerContext& context, const NetworkOptions& options,
                       CheckPort check) {
  RequireNetworkOptions(options);
  if (check == CheckPort::kYes && !options.addresses && !ServerRunsOn(context, options.port) &&
      util::IsTcpPortInUse(options.port)) {
    throw SimpleException(
        u"The specified TCP port is occupied by another service. Please stop that service or use "
        u"another port.");
  }
  IcRegistryAccessor& store = context.configuration();
  store.SetUseSSL(options.secure);
  store.SetServerPort(options.secure, static_cast<int>(options.port));
  store.SetUseServerBindings(options.addresses.has_value());
  if (options.addresses) store.SetServerBindings(*options.addresses);
  apache::RegenerateApacheConfig(store);
}

void SetAuthenticationOptions(const ServerContext& context, const AuthenticationOptions& options) {
  IcRegistryAccessor& store = context.configuration();
  store.SetUseWindowsAuth(options.auth_type == 1);
  store.SetWindowsBasicEnabled(options.windows_basic);
  store.SetEnableWindowsIntegrated(options.windows_integrated);
  store.SetUseUPNFormat(options.use_upn_format);
  apache::RegenerateApacheConfig(store);
}

void SetLoggingOptions(const ServerContext& context, bool access, bool operational) {
  IcRegistryAccessor& store = context.configuration();
  store.SetEnableAccessLogging(access);
  store.SetEnableOperationalLogging(operational);
  apache::RegenerateApacheConfig(store);
}

bool IsValidUrlPrefix(const std::u16string& prefix) { return apache::IsUrlPrefix(prefix); }

void SetRepositoriesUrlPrefix(const ServerContext& context, const std::u16string& prefix) {
  if (!IsValidUrlPrefix(prefix)) {
    throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS, u"Invalid repositories URL prefix");
  }
  context.configuration().SetRepositoriesURLPrefix(prefix);
  apache::RegenerateApacheConfig(context.configuration());
  apache::RegenerateStartPages(context.configuration());
}

void SetWebInterfaceOptions(const ServerContext& context, bool redirect_from_legacy) {
  context.configuration().SetRedirectFromLegacyWebInterface(redirect_from_legacy);
  apache::RegenerateApacheConfig(context.configuration());
}

}  // namespace kelvarion::settings
