// Many settings changed by one request: all are checked, then applied one after the other, and then
// the services that run are restarted.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "context/server_context.h"

namespace kelvarion::settings {

// The one entry of a list of addresses that stands for all of them.
inline constexpr const char16_t* kAllAddresses = u"All";

// What is given is set, even to what it is already; what is not keeps its value.
struct ConfigurationChange {
  std::optional<std::u16string> server_name;  // Empty for the computer's own.
  std::optional<std::u16string> repositories_root;
  std::optional<std::u16string> repositories_url_prefix;
  std::optional<std::uint32_t> listen_port;
  std::optional<std::vector<std::u16string>> listening_addresses;
  std::optional<bool> enable_ssl;
  std::optional<std::uint32_t> authentication_mode;  // 1 for Windows accounts, 0 for Subversion's.
  std::optional<bool> basic_authentication;
  std::optional<bool> integrated_authentication;
  std::optional<bool> redirect_from_legacy_web_interface;
  std::optional<bool> operational_logging;
  std::optional<bool> access_logging;
};

class IcConfigurationNotify {
 public:
  virtual void Warning(const std::u16string& text) = 0;
  virtual void ServiceChanging(const std::u16string& what) = 0;

 protected:
  ~IcConfigurationNotify() = default;
};

// How long each service may take for each step of its restart.
inline constexpr std::uint32_t kServiceTimeoutMs = 30000;

// False when nothing was given, and nothing done. What is refused is refused before anything is
// stored: WMIException WBEM_E_INVALID_METHOD_PARAMETERS for a value out of range, SimpleException
// otherwise. A failure while settings are applied leaves those before it applied and restarts
// nothing; a service that cannot be restarted (Win32Exception) or does not come up in time
// (SimpleException) leaves all of them applied. Why a service failed is told as a warning.
bool ChangeConfiguration(const ServerContext& context, const ConfigurationChange& change,
                         IcConfigurationNotify& notify,
                         std::uint32_t timeout_ms = kServiceTimeoutMs);

}  // namespace kelvarion::settings
