#include "platform/files/tree_size.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <deque>

#include "platform/files/descriptor.h"
#include "platform/files/files.h"
#include "platform/files/open_folder.h"

namespace kelvarion::platform {
namespace {

constexpr std::uint64_t kBlock = 512;  // The unit of st_blocks, whatever the file system's blocks.

bool Vanished(int error) { return error == ENOENT || error == ENOTDIR || error == ELOOP; }

class Walk {
 public:
  explicit Walk(const std::string& root) { pending_.push_back(root); }

  // errno of what stopped the walk, whose folder is then the first of those pending.
  int Run() {
    Links links = Links::kFollow;
    for (; !pending_.empty(); pending_.pop_front(), links = Links::kRefuse) {
      if (const int error = CountFolder(pending_.front(), links)) return error;
    }
    return 0;
  }
  const std::string& current() const { return pending_.front(); }
  TreeSize size;

 private:
  int CountFolder(const std::string& path, Links links) {
    const OpenFolder folder = OpenFolderAt(AT_FDCWD, path, links);
    if (!folder) return Vanished(errno) ? 0 : errno;
    while (const dirent* const entry = NextEntry(folder))
      if (const int error = CountEntry(folder.get(), path, *entry)) return error;
    // A folder that is removed while it is read ends with ENOENT on some file systems.
    return Vanished(errno) ? 0 : errno;
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
