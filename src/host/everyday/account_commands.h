// kelvarionctl user and group: who there is while the server uses Subversion authentication.
#pragma once

#include "host/command_group.h"

namespace kelvarion::host {

void AddUserCommands(CLI::App& app, Command& chosen);
void AddGroupCommands(CLI::App& app, Command& chosen);

}  // namespace kelvarion::host
