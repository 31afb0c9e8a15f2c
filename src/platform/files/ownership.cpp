#include "platform/files/ownership.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/files/descriptor.h"
#include "platform/files/files.h"

namespace kelvarion::platform {
namespace {

void Fill(const struct stat& status, Ownership& out) {
  out = {status.st_uid, status.st_gid, status.st_mode & 07777U, S_ISLNK(status.st_mode),
         S_ISDIR(status.st_mode)};
}

}  // namespace

Win32Error ReadOwnership(const std::string& path, Ownership& out) {
  struct stat status {};
  if (lstat(path.c_str(), &status) != 0) return FromErrno(errno);
  Fill(status, out);
  return ERROR_SUCCESS;
}

Win32Error ChangeOwner(const std::string& path, std::uint32_t user, std::uint32_t group) {
  return lchown(path.c_str(), user, group) == 0 ? ERROR_SUCCESS : FromErrno(errno);
}

// By descriptor, so that nobody puts a link in the file's place in between.
Win32Error ChangeMode(const std::string& path, std::uint32_t mode) {
  const Descriptor file(open(path.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
  struct stat status {};
  if (!file || fstat(file.get(), &status) != 0) return FromErrno(errno);
  if (S_ISLNK(status.st_mode)) return ERROR_NOT_SUPPORTED;
  const std::string same = "/proc/self/fd/" + std::to_string(file.get());
  return chmod(same.c_str(), mode) == 0 ? ERROR_SUCCESS : FromErrno(errno);
}

}  // namespace kelvarion::platform
