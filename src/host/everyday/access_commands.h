// kelvarionctl access: who may do what.
#pragma once

#include "host/command_group.h"

namespace kelvarion::host {

void AddAccessCommands(CLI::App& app, Command& chosen);

// The commands below it that show and change single rules.
void AddAccessRuleCommands(CLI::App& access, Command& chosen);
// The commands below it that explain and check.
void AddAccessExplainCommands(CLI::App& access, Command& chosen);

}  // namespace kelvarion::host
