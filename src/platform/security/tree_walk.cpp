#include "platform/security/tree_walk.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <vector>

#include "platform/files/files.h"

namespace kelvarion::platform {
namespace {

class Handle {
 public:
  explicit Handle(int descriptor) : descriptor_(descriptor) {}
  ~Handle() {
    if (descriptor_ >= 0) close(descriptor_);
  }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  int get() const { return descriptor_; }

 private:
  int descriptor_;
};

struct CloseFolder {
  void operator()(DIR* folder) const { closedir(folder); }
};
using Folder = std::unique_ptr<DIR, CloseFolder>;

bool MayChange(const struct stat& status) { return geteuid() == 0 || status.st_uid == geteuid(); }

bool IsVisited(const struct stat& status) {
  return S_ISREG(status.st_mode) || S_ISDIR(status.st_mode);
}

std::string PathOf(const Handle& object) { return "/proc/self/fd/" + std::to_string(object.get()); }

// Null with errno set when it cannot be read.
Folder OpenFolder(const Handle& object) {
  const int descriptor = openat(object.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return nullptr;
  Folder folder(fdopendir(descriptor));
  if (!folder) close(descriptor);
  return folder;
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
  const Handle root(open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (root.get() < 0 || fstat(root.get(), &status) != 0) return FromErrno(errno);
  if (!MayChange(status)) return ERROR_ACCESS_DENIED;
  if (const Win32Error error = visit(PathOf(root), status.st_mode); error != ERROR_SUCCESS)
    return error;
  // The open folders from the root down: no path is ever walked twice.
  std::vector<Folder> open_folders;
  open_folders.push_back(OpenFolder(root));
  if (!open_folders.back()) return FromErrno(errno);
  while (!open_folders.empty()) {
    DIR* const current = open_folders.back().get();
    const dirent* const entry = readdir(current);
    if (!entry) {
      open_folders.pop_back();
      continue;
    }
    if (std::strcmp(entry->d_name, ".") == 0 || std::strcmp(entry->d_name, "..") == 0) continue;
    if (wanted && fstatat(dirfd(current), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
        S_ISREG(status.st_mode) && !wanted(status.st_mode))
      continue;
    const Handle object(openat(dirfd(current), entry->d_name, O_PATH | O_NOFOLLOW | O_CLOEXEC));
    if (object.get() < 0 || fstat(object.get(), &status) != 0) {
      if (errno == ENOENT) continue;
      return FromErrno(errno);
    }
    if (!IsVisited(status) || !MayChange(status)) continue;
    if (const Win32Error error = visit(PathOf(object), status.st_mode); error != ERROR_SUCCESS)
      return error;
    if (!S_ISDIR(status.st_mode)) continue;
    open_folders.push_back(OpenFolder(object));
    if (!open_folders.back()) return FromErrno(errno);
  }
  return ERROR_SUCCESS;
}

}  // namespace kelvarion::platform
