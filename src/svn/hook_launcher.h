// The program that stands under a hook's own name and runs the script beside it, or, in a
// repository that is a slave, refuses and names the master.
#pragma once

#include <optional>
#include <string>

#include "svn/pool.h"

namespace kelvarion::svn {

// The script with the extension that counts; nothing when the hook has none. `hook` is the path
// under which Subversion runs the hook, in its internal style.
std::optional<std::string> FindHookScript(const std::string& hook, const Pool& scratch);

// What stands under the hook's own name.
enum class HookProgram { kNothing, kLauncher, kOutdatedLauncher, kForeign };
HookProgram InspectHookProgram(const std::string& hook, const Pool& scratch);

// Makes the launcher of the hook, or brings it up to date. False, and nothing is changed, when
// something that is no launcher has the name.
bool InstallHookLauncher(const std::string& hook, const Pool& scratch);
// Removes it unless a script remains or the repository is a slave; what is no launcher is left
// alone.
void RemoveUnusedHookLauncher(const std::string& hook, const Pool& scratch);

}  // namespace kelvarion::svn
