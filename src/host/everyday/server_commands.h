// kelvarionctl server and doctor: how the server is, and what is wrong with it.
#pragma once

#include "host/command_group.h"

namespace kelvarion::host {

void AddServerCommands(CLI::App& app, Command& chosen);
// The command below it that changes settings.
void AddServerConfigureCommand(CLI::App& server, Command& chosen);
void AddDoctorCommand(CLI::App& app, Command& chosen);

}  // namespace kelvarion::host
