// How commands get onto the command line.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>

#include "host/outcome.h"
#include "host/session.h"

namespace kelvarion::host {

// What a command does once the whole command line has been read.
using Command = std::function<Outcome(Session&)>;

// Adds a command below `parent`; when it is the one on the command line, `chosen` becomes
// `command`. Its options live as long as the parser: hold them by a shared pointer that `command`
// captures.
CLI::App* AddCommand(CLI::App& parent, const char* name, const char* description, Command& chosen,
                     Command command);

}  // namespace kelvarion::host
