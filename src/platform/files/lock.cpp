#include <acl/libacl.h>
#include <fcntl.h>
#include <sys/acl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>

#include "platform/files/descriptor.h"
#include "platform/files/files.h"

namespace kelvarion::platform {
namespace {

bool Names(const std::string& path, int descriptor) {
  struct stat named {};
  struct stat opened {};
  return lstat(path.c_str(), &named) == 0 && fstat(descriptor, &opened) == 0 &&
         named.st_dev == opened.st_dev && named.st_ino == opened.st_ino;
}

// The mode of a new lock file. Who can open it can hold everybody up; so where the folder names
// nobody, the owner alone can. Where it names accounts, they need the lock as well, and by the mode
// the system limits what they get.
mode_t ModeIn(const std::string& path) {
  const std::size_t slash = path.find_last_of('/');
  const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
  acl_t const defaults = acl_get_file(folder.c_str(), ACL_TYPE_DEFAULT);
  const bool names_accounts = defaults && acl_entries(defaults) > 0;
  if (defaults) acl_free(defaults);
  return names_accounts ? 0660 : 0600;
}

}  // namespace

FileLock::FileLock(const std::u16string& path, IfLocked if_locked) {
  const int how = if_locked == IfLocked::kWait ? LOCK_EX : LOCK_EX | LOCK_NB;
  std::string native;
  error_ = ToNative(path, native);
  while (error_ == ERROR_SUCCESS && descriptor_ < 0) {
    Descriptor file(
        open(native.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, ModeIn(native)));
    if (!file) {
      error_ = FromErrno(errno);
      break;
    }
    int result = 0;
    do result = flock(file.get(), how);
    while (result != 0 && errno == EINTR);
    if (result != 0) error_ = errno == EWOULDBLOCK ? ERROR_SHARING_VIOLATION : FromErrno(errno);
    // While this thread waited, the holder may have moved the file away: then the lock is
    // worthless.
    else if (Names(native, file.get()))
      descriptor_ = file.Release();
  }
}

FileLock::~FileLock() {
  if (descriptor_ >= 0) close(descriptor_);
}

}  // namespace kelvarion::platform
