// A walk over a tree that others may change meanwhile, safe for root.
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>

#include "platform/com/types.h"

namespace kelvarion::platform {

// Visits the folder, then every file and folder below it that the process may change (all for root,
// else its user's own), a folder before what lies in it. The path that the visitor gets leads to
// exactly the object that was found, whatever its name stands for by then. Symbolic links, devices
// and the like are left out, what vanishes meanwhile is passed over, as are files of whose mode
// `wanted` says no: it is asked before a file is opened, which is most of the work.
// Stops at the first error; ERROR_ACCESS_DENIED when the folder itself is somebody else's.
Win32Error WalkOwnTree(const std::string& folder,
                       const std::function<Win32Error(const std::string& path, mode_t mode)>& visit,
                       const std::function<bool(mode_t)>& wanted = nullptr);

// Whether WalkOwnTree would begin at all: its failure otherwise.
Win32Error RequireOwnFolder(const std::string& folder);

}  // namespace kelvarion::platform
