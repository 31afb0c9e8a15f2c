// Copying single files.
#pragma once

#include <functional>
#include <string>

#include "platform/com/types.h"

namespace kelvarion::platform {

// Makes `to`, which must not exist, a copy of the file `from` with its time of change. What the
// mode of `from` allows is allowed as far as it is for new files in the folder of `to`. Calls
// `each` before each piece; what that throws, as any failure, leaves a file that is not whole.
// ERROR_FILE_NOT_FOUND and ERROR_PATH_NOT_FOUND when there is no such file. Links are not followed.
Win32Error CopyFile(const std::u16string& from, const std::u16string& to,
                    const std::function<void()>& each);

}  // namespace kelvarion::platform
