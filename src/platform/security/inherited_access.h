// The access that things made elsewhere are to have where they come to lie.
#pragma once

#include <string>

#include "platform/com/types.h"

namespace kelvarion::platform {

// Gives a folder and everything below it the access that it would have had it been made in its
// place: that of the default access list of the folder it lies in. Files keep what their owner may
// not do with them. Where the parent has no such list nothing changes. Links are left alone.
Win32Error InheritAccess(const std::u16string& folder);

}  // namespace kelvarion::platform
