#include "platform/security/tree_walk.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

#include "platform/files/descriptor.h"
#include "platform/files/files.h"
#include "platform/files/open_folder.h"

namespace kelvarion::platform {
namespace {

bool MayChange(const struct stat& status) { return geteuid() == 0 || status.st_uid == geteuid(); }

bool IsVisited(const struct stat& status) {
  return S_ISREG(status.st_mode) || S_ISDIR(status.st_mode);
}

std::string PathOf(const Descriptor& object) {
  return "/proc/self/fd/" + std::to_string(object.get());
}

OpenFolder Open(const Descriptor& object) {
  return OpenFolderAt(object.get(), ".", Links::kRefuse);
}

}  // namespace

Win32Error RequireOwnFolder(const std::string& folder) {
  struct stat status {};
  if (stat(folder.c_str(), &status) != 0) return FromErrno(errno);
  return MayChange(status) ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
}

Win32Error WalkOwnTree(const std::string& folder,
                       const std::function<Win32Error(const std::string&, mode_t)>& visit,
                       const std::function<bool(mode_t)>& wanted) {
  struct stat status {};
  // Objects are held by descriptors that give no access, so that none is opened for real.
  const Descriptor root(open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (!root || fstat(root.get(), &status) != 0) return FromErrno(errno);
  if (!MayChange(status)) return ERROR_ACCESS_DENIED;
  if (const Win32Error error = visit(PathOf(root), status.st_mode); error != ERROR_SUCCESS)
    return error;
  // The open folders from the root down: no path is ever walked twice.
  std::vector<OpenFolder> open_folders;
  open_folders.push_back(Open(root));
  if (!open_folders.back()) return FromErrno(errno);
  while (!open_folders.empty()) {
    const int current = dirfd(open_folders.back().get());
    const dirent* const entry = NextEntry(open_folders.back());
    if (!entry) {
      // A folder that is removed while it is read ends so on some file systems.
      if (errno != 0 && errno != ENOENT) return FromErrno(errno);
      open_folders.pop_back();
      continue;
    }
    if (wanted) {
      if (fstatat(current, entry->d_name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
        if (errno == ENOENT) continue;
        return FromErrno(errno);
      }
      if (S_ISREG(status.st_mode) && !wanted(status.st_mode)) continue;
    }
    const Descriptor object(openat(current, entry->d_name, O_PATH | O_NOFOLLOW | O_CLOEXEC));
    if (!object || fstat(object.get(), &status) != 0) {
      if (errno == ENOENT) continue;
      return FromErrno(errno);
    }
    if (!IsVisited(status) || !MayChange(status)) continue;
    if (const Win32Error error = visit(PathOf(object), status.st_mode); error != ERROR_SUCCESS)
      return error;
    if (!S_ISDIR(status.st_mode)) continue;
    open_folders.push_back(Open(object));
    if (!open_folders.back()) return FromErrno(errno);
  }
  return ERROR_SUCCESS;
}

}  // namespace kelvarion::platform
