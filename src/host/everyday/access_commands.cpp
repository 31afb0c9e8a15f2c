#include "host/everyday/access_commands.h"

namespace kelvarion::host {

void AddAccessCommands(CLI::App& app, Command& chosen) {
  CLI::App* const access = AddGroup(app, "access", "Say who may read and write what");
  AddAccessRuleCommands(*access, chosen);
  AddAccessExplainCommands(*access, chosen);
}

}  // namespace kelvarion::host
