// How commands get onto the command line.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <memory>
#include <utility>

#include "host/outcome.h"
#include "host/session.h"

namespace kelvarion::host {

// What a command does once the whole command line has been read.
using Command = std::function<Outcome(Session&)>;

// Adds a command below `parent`; when it is the one on the command line, `chosen` becomes
// `command`.
CLI::App* AddCommand(CLI::App& parent, const char* name, const char* description, Command& chosen,
                     Command command);

// The same for a command with words and options of its own: they are read into the second of what
// is returned, which `run` gets, and live as long as the parser.
template <class Words>
std::pair<CLI::App*, Words*> AddCommand(CLI::App& parent, const char* name, const char* description,
                                        Command& chosen, Outcome (*run)(Session&, const Words&)) {
  const auto words = std::make_shared<Words>();
  CLI::App* const command =
      AddCommand(parent, name, description, chosen,
                 [words, run](Session& session) { return run(session, *words); });
  return {command, words.get()};
}

// A group of commands, one of which has to follow its name.
CLI::App* AddGroup(CLI::App& parent, const char* name, const char* description);
// A group whose name alone is a command as well.
CLI::App* AddGroup(CLI::App& parent, const char* name, const char* description, Command& chosen,
                   Command alone);

}  // namespace kelvarion::host
