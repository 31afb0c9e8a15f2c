// How the server is, at a glance.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "settings/server_settings.h"

namespace kelvarion::doctor {

struct ServerStatus {
  settings::ServerSettings settings;
  std::u16string last_failure;            // The server's own words; empty when all went well.
  std::vector<std::u16string> listening;  // "127.0.0.1:8080", "*:8443"
  bool restart_pending = false;           // Changes wait for a restart.
  // Nothing where it cannot be found out.
  std::optional<std::uint32_t> repositories;
  std::optional<std::uint32_t> users;  // Nothing, too, while accounts of the machine log in.
  // Of the server's certificate; negative days once it has expired.
  std::optional<std::int64_t> certificate_days_left;
  std::u16string certificate_expires;  // "2036-01-31"; empty where it cannot be found out.
  // What needs attention, a sentence each: what the examination finds at a glance.
  std::vector<std::u16string> warnings;
};

ServerStatus ReadServerStatus(const ServerContext& context);

}  // namespace kelvarion::doctor
