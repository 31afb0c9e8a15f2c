// The installation folder of the web server within a home, laid out as server/layout.txt lists it.
#pragma once

#include <string>

#include "host/program_paths.h"

namespace kelvarion::host {

// Throws SimpleException for a home in which Apache could not serve because of its path: one with a
// quotation mark, a backslash, "${" or a control character.
void CheckServablePath(const std::string& path);

// Makes what is missing of the installation folder (UTF-8, absolute) and brings what the program
// owns up to date; what an administrator owns is left alone. How many files, folders and links were
// made or changed. Throws Win32Exception or SimpleException for what cannot be made.
int LayOutInstallFolder(const ProgramPaths& paths, const std::string& folder);

}  // namespace kelvarion::host
