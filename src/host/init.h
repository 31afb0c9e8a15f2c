// Makes a home: everything that a server needs to be started.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/outcome.h"
#include "host/session.h"

namespace kelvarion::host {

// Texts are UTF-8; what is not given takes its default.
struct InitOptions {
  std::optional<std::string> repositories_root;
  std::optional<int> port;
  std::optional<int> ssl_port;
  std::optional<std::string> listen;  // "all" or addresses with commas.
  std::optional<std::string> server_name;
};

// Each step finds out what exists already and leaves it alone, so the command may be repeated at
// any time and goes on where it was interrupted. Options that contradict what exists are reported
// as warnings. The outcome's objects and text say what was done and what comes next.
Outcome Init(Session& session, const InitOptions& options);

}  // namespace kelvarion::host
