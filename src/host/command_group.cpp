#include "host/command_group.h"

namespace kelvarion::host {

CLI::App* AddCommand(CLI::App& parent, const char* name, const char* description, Command& chosen,
                     Command command) {
  CLI::App* const sub = parent.add_subcommand(name, description);
  sub->final_callback([&chosen, command = std::move(command)] { chosen = command; });
  return sub;
}

CLI::App* AddGroup(CLI::App& parent, const char* name, const char* description) {
  CLI::App* const group = parent.add_subcommand(name, description);
  group->require_subcommand(1);
  return group;
}

CLI::App* AddGroup(CLI::App& parent, const char* name, const char* description, Command& chosen,
                   Command alone) {
  CLI::App* const group = parent.add_subcommand(name, description);
  group->require_subcommand(0, 1);
  // The commands below it have had their turn by then.
  group->final_callback([&chosen, alone = std::move(alone)] {
    if (!chosen) chosen = alone;
  });
  return group;
}

}  // namespace kelvarion::host
