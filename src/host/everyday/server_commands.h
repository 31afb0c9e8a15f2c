// kelvarionctl server and doctor: how the server is, and what is wrong with it.
#pragma once

#include "host/command_group.h"

namespace kelvarion::host {

void AddServerCommands(CLI::App& app, Command& chosen);
void AddDoctorCommand(CLI::App& app, Command& chosen);

}  // namespace kelvarion::host
