#include "platform/files/tree_size.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <deque>
#include <memory>

#include "platform/files/descriptor.h"
#include "platform/files/files.h"

namespace kelvarion::platform {
namespace {

constexpr std::uint64_t kBlock = 512;  // The unit of st_blocks, whatever the file system's blocks.

struct CloseFolder {
  void operator()(DIR* folder) const { closedir(folder); }
};
using Folder = std::unique_ptr<DIR, CloseFolder>;

// Null with errno set when it cannot be opened. A link in a folder's place is not followed.
Folder OpenFolder(const std::string& path, int links) {
  Descriptor descriptor(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | links));
  if (!descriptor) return nullptr;
  Folder folder(fdopendir(descriptor.get()));
  if (folder) descriptor.Release();
  return folder;
}

bool Vanished(int error) { return error == ENOENT || error == ENOTDIR || error == ELOOP; }

class Walk {
 public:
  explicit Walk(const std::string& root) { pending_.push_back(root); }

  // errno of what stopped the walk, whose folder is then the first of those pending.
  int Run() {
    int links = 0;
    for (; !pending_.empty(); pending_.pop_front(), links = O_NOFOLLOW) {
      if (const int error = CountFolder(pending_.front(), links)) return error;
    }
    return 0;
  }
  const std::string& current() const { return pending_.front(); }
  TreeSize size;

 private:
  int CountFolder(const std::string& path, int links) {
    const Folder folder = OpenFolder(path, links);
    if (!folder) return Vanished(errno) ? 0 : errno;
    for (;;) {
      errno = 0;
      const dirent* const entry = readdir(folder.get());
      // A folder that is removed while it is read ends with ENOENT on some file systems.
      if (!entry) return Vanished(errno) ? 0 : errno;
      if (std::strcmp(entry->d_name, ".") == 0 || std::strcmp(entry->d_name, "..") == 0) continue;
      if (const int error = CountEntry(folder.get(), path, *entry)) return error;
    }
  }

  int CountEntry(DIR* folder, const std::string& path, const dirent& entry) {
    struct stat status {};
    if (entry.d_type != DT_DIR) {
      if (fstatat(dirfd(folder), entry.d_name, &status, AT_SYMLINK_NOFOLLOW) != 0)
        return Vanished(errno) ? 0 : errno;
    }
    if (entry.d_type == DT_DIR || S_ISDIR(status.st_mode)) {
      ++size.folders;
      pending_.push_back(path + '/' + entry.d_name);
      return 0;
    }
    ++size.files;
    size.bytes += static_cast<std::uint64_t>(status.st_size);
    size.bytes_on_disk += static_cast<std::uint64_t>(status.st_blocks) * kBlock;
    return 0;
  }

  std::deque<std::string> pending_;
};

}  // namespace

Win32Error MeasureTree(const std::u16string& folder, TreeSize& out, std::u16string& failed) {
  std::string native;
  failed = folder;
  if (const Win32Error error = ToNative(folder, native)) return error;
  Walk walk(native);
  if (const int error = walk.Run()) {
    failed = PathFromNative(walk.current());
    return FromErrno(error);
  }
  out = walk.size;
  return ERROR_SUCCESS;
}

}  // namespace kelvarion::platform
