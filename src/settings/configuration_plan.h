// What a change of the configuration comes to: for each group of settings that belong together the
// values that all of its members are to have.
#pragma once

#include "settings/configuration_change.h"
#include "settings/server_settings.h"

namespace kelvarion::settings {

struct LoggingOptions {
  bool access = false;
  bool operational = false;
};

struct ConfigurationPlan {
  std::optional<std::u16string> server_name;
  std::optional<NetworkOptions> network;
  std::optional<std::u16string> repositories_root;
  std::optional<std::u16string> repositories_url_prefix;
  std::optional<AuthenticationOptions> authentication;
  std::optional<bool> redirect_from_legacy_web_interface;
  std::optional<LoggingOptions> logging;

  bool IsEmpty() const {
    return !server_name && !network && !repositories_root && !repositories_url_prefix &&
           !authentication && !redirect_from_legacy_web_interface && !logging;
  }
};

// Checks everything that was given against the settings as they are; throws for the first that is
// not acceptable.
ConfigurationPlan PlanConfiguration(const ServerContext& context, const ConfigurationChange& change,
                                    IcConfigurationNotify& notify);

}  // namespace kelvarion::settings
