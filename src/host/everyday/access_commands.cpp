#include "host/everyday/access_commands.h"

namespace kelvarion::host {

void AddAccessCommands(CLI::App& app, Command& chosen) {
  CLI::App* const access = app.add_subcommand("access", "Say who may read and write what");
  access->require_subcommand(1);
  AddAccessRuleCommands(*access, chosen);
  AddAccessExplainCommands(*access, chosen);
}

}  // namespace kelvarion::host
