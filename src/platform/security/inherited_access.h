// The access that copies are to have where they lie.
#pragma once

#include <functional>
#include <string>

#include "platform/com/types.h"

namespace kelvarion::platform {

// Gives a folder, made in its place with everything below it, the access that it would have had its
// files not got modes from elsewhere: that of the default access list of the folder it lies in.
// Files keep what their owner may not do with them. Where the parent has no such list nothing
// changes. Links are left alone. Calls `each` before each file and folder; what that throws ends
// it.
Win32Error InheritAccess(const std::u16string& folder, const std::function<void()>& each);

}  // namespace kelvarion::platform
