// Locks that are waited for.
#pragma once

#include <string>

#include "platform/files/files.h"
#include "svn/error.h"

namespace kelvarion::svn {

// Holds the lock of a file (see platform::FileLock) from construction to destruction. Throws
// SvnException "Cannot open file '%s'".
class HeldLock {
 public:
  explicit HeldLock(const std::u16string& file) : lock_(file) {
    if (lock_.Error() != ERROR_SUCCESS)
      ThrowSystemError(lock_.Error(), Format(u"Cannot open file '%s'", file));
  }

 private:
  const platform::FileLock lock_;
};

}  // namespace kelvarion::svn
