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
  // What needs attention, a sentence each: what the examination finds at a glance.
  std::vector<std::u16string> warnings;
};

ServerStatus ReadServerStatus(const ServerContext& context);

}  // namespace kelvarion::doctor
