// The objects that a process makes by their class identifier.
#pragma once

#include "platform/wmi/interfaces.h"

namespace kelvarion::platform::wmi {

// An IWbemPath that is empty.
ComPtr<IUnknown> MakePath();

// An ISWbemDateTime at the first moment of year 0, universal time.
ComPtr<IUnknown> MakeDateTime();

}  // namespace kelvarion::platform::wmi
