#include "host/command_group.h"

namespace kelvarion::host {

CLI::App* AddCommand(CLI::App& parent, const char* name, const char* description, Command& chosen,
                     Command command) {
  CLI::App* const sub = parent.add_subcommand(name, description);
  sub->final_callback([&chosen, command = std::move(command)] { chosen = command; });
  return sub;
}

}  // namespace kelvarion::host
