// Files in folders that less trusted accounts write to as well, safe for root. No symbolic link is
// followed below the folders that are named.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/com/types.h"

namespace kelvarion::platform {

// The text of a file that nobody but root and this process's user can have put there:
// ERROR_ACCESS_DENIED when another account owns it or may write to it, ERROR_CANT_RESOLVE_FILENAME
// for a link.
Win32Error ReadOwnFile(const std::string& path, std::string& out);

// Removes the files with the wanted names from the folder to which `parts` lead from `base` and
// from the folders directly in it. Stops at the first error, which a link in the place of a part
// is.
Win32Error RemoveFilesBelow(const std::string& base, const std::vector<std::string>& parts,
                            const std::function<bool(std::string_view name)>& wanted);

}  // namespace kelvarion::platform
