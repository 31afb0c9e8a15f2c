// What the command line says of itself, for the manual and for the shell: both are made from the
// descriptions that --help shows, so they cannot tell something else.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace kelvarion::host {

// A page of the manual, section 1, in roff.
std::string ManualPage(const CLI::App& app);

// A script for bash that completes commands and options; what follows them completes as file names.
std::string BashCompletion(const CLI::App& app);

// `manual` and `completion`, which print the two. They need neither a home nor the schema.
void AddManualCommands(CLI::App& app);

}  // namespace kelvarion::host
