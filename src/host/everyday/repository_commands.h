// kelvarionctl repository, hook and item: repositories, their hook scripts and what is in them.
#pragma once

#include "host/command_group.h"

namespace kelvarion::host {

void AddRepositoryCommands(CLI::App& app, Command& chosen);
void AddHookCommands(CLI::App& app, Command& chosen);
void AddItemCommands(CLI::App& app, Command& chosen);

}  // namespace kelvarion::host
