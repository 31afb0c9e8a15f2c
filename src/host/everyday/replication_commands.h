// kelvarionctl replication: masters and slaves, and whom this server trusts.
#pragma once

#include "host/command_group.h"

namespace kelvarion::host {

void AddReplicationCommands(CLI::App& app, Command& chosen);
// replication_status_command.cpp
void AddReplicationStatus(CLI::App& replication, Command& chosen);
// trust_commands.cpp: its commands that say which masters may be followed.
void AddTrustCommands(CLI::App& replication, Command& chosen);

}  // namespace kelvarion::host
