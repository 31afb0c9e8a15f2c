// All settings of the server at one moment, and the changes that management classes make to them.
//
// Every change stores its values and generates the web server's configuration from them; none
// restarts the web server. A change that fails after it stored something leaves that stored. What
// is not acceptable is refused before anything is stored, with WMIException
// WBEM_E_INVALID_METHOD_PARAMETERS and a text that says why.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "context/server_context.h"

namespace kelvarion::settings {

inline constexpr const char16_t* kServerInstanceName = u"KelvarionServer";

// In the order in which clients see them, who name the server kServerInstanceName.
struct ServerSettings {
  std::uint32_t service_state = 0;
  std::uint32_t exit_code = 0;
  std::u16string url;
  std::u16string repositories_root;
  std::u16string repositories_url_prefix;
  bool adjust_repositories_root_permissions = false;
  std::u16string server_name;  // The host in URLs.
  bool use_custom_server_name = false;
  std::u16string custom_server_name;
  bool is_domain_controller = false;
  bool use_secure_connection = false;
  std::uint32_t unsecure_port = 0;
  std::uint32_t secure_port = 0;
  std::uint32_t auth_type = 0;  // 1 for Windows accounts, 0 for Subversion users.
  bool use_upn_format = false;
  bool listen_all_ip_addresses = false;
  std::vector<std::u16string> listen_ip_addresses;
  bool auth_windows_basic = false;
  bool auth_windows_integrated = false;
  bool access_logging_enabled = false;
  bool operational_logging_enabled = false;
  bool redirect_from_legacy_web_interface = false;
};

ServerSettings ReadServerSettings(const ServerContext& context);

bool IsValidServerName(const std::u16string& name);
// Throws as SetServerName does for a name that is not valid.
void RequireServerName(const std::u16string& name);
// An empty name stands for the computer's own.
void SetServerName(const ServerContext& context, const std::u16string& custom_name);

struct NetworkOptions {
  std::uint32_t port = 0;
  bool secure = false;
  // Nothing: all addresses.
  std::optional<std::vector<std::u16string>> addresses;
};
enum class CheckPort : bool { kNo, kYes };

// Throws as SetNetworkOptions does for options that no server could have.
void RequireNetworkOptions(const NetworkOptions& options);

// With kYes and all addresses, a port that another program listens on is SimpleException.
void SetNetworkOptions(const ServerContext& context, const NetworkOptions& options,
                       CheckPort check);

struct AuthenticationOptions {
  std::uint32_t auth_type = 0;  // Only 1 selects Windows accounts.
  bool windows_basic = false;
  bool windows_integrated = false;
  bool use_upn_format = false;
};
void SetAuthenticationOptions(const ServerContext& context, const AuthenticationOptions& options);

void SetLoggingOptions(const ServerContext& context, bool access, bool operational);

bool IsValidUrlPrefix(const std::u16string& prefix);
// Generates the start pages, too.
void SetRepositoriesUrlPrefix(const ServerContext& context, const std::u16string& prefix);

void SetWebInterfaceOptions(const ServerContext& context, bool redirect_from_legacy);

}  // namespace kelvarion::settings
