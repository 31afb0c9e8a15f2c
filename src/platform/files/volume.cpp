#include <fcntl.h>
#include <linux/magic.h>
#include <sys/statfs.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "platform/files/descriptor.h"
#include "platform/files/files.h"
#include "platform/text/encoding.h"

namespace kelvarion::platform {
namespace {

struct Mount {
  std::string point;
  std::string type;
};

// Blanks and the like stand as \040 in the kernel's tables.
std::string Unescape(const std::string& text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\\' && i + 3 < text.size()) {
      out.push_back(static_cast<char>(std::strtol(text.substr(i + 1, 3).c_str(), nullptr, 8)));
      i += 3;
    } else {
      out.push_back(text[i]);
    }
  }
  return out;
}

bool LiesBelow(const std::string& path, const std::string& point) {
  if (point == "/") return true;
  return path.starts_with(point) && (path.size() == point.size() || path[point.size()] == '/');
}

// The mount that `path`, which is free of links, lies on: the deepest, of several at one place the
// last.
bool FindMount(const std::string& path, Mount& out) {
  std::ifstream table("/proc/self/mountinfo");
  bool found = false;
  for (std::string line; std::getline(table, line);) {
    std::istringstream fields(line);
    std::string field;
    std::string point;
    for (int i = 0; i < 5 && fields >> field; ++i) point = field;
    while (fields >> field && field != "-") {
    }
    std::string type;
    if (!(fields >> type)) continue;
    point = Unescape(point);
    if (!LiesBelow(path, point) || (found && point.size() < out.point.size())) continue;
    out = {point, type};
    found = true;
  }
  return found;
}

// For a root that is no mount point (a changed root) or a machine without /proc, where the table
// does not tell.
std::string TypeByMagic(const std::string& path) {
  constexpr struct {
    long magic;
    const char* type;
  } kTypes[] = {{EXT4_SUPER_MAGIC, "ext4"}, {XFS_SUPER_MAGIC, "xfs"}, {BTRFS_SUPER_MAGIC, "btrfs"},
                {F2FS_SUPER_MAGIC, "f2fs"}, {TMPFS_MAGIC, "tmpfs"},   {NFS_SUPER_MAGIC, "nfs"},
                {SMB2_SUPER_MAGIC, "cifs"}, {V9FS_MAGIC, "9p"},       {CEPH_SUPER_MAGIC, "ceph"}};
  struct statfs status {};
  if (statfs(path.c_str(), &status) == 0)
    for (const auto& each : kTypes)
      if (each.magic == static_cast<long>(status.f_type)) return each.type;
  return "unknown";
}

bool IsAnyOf(const std::string& type, std::initializer_list<const char*> types) {
  for (const char* each : types)
    if (type == each) return true;
  return false;
}

bool IsRemote(const std::string& type) {
  return IsAnyOf(type, {"nfs", "nfs4", "cifs", "smb3", "9p", "afs", "ceph", "lustre", "glusterfs",
                        "fuse.glusterfs", "fuse.sshfs", "fuse.cephfs"});
}

// File systems that swap two folders in one step and keep the order of renames after a crash.
bool SwapsFoldersAtOnce(const std::string& type) {
  return IsAnyOf(type, {"ext4", "xfs", "btrfs", "f2fs", "bcachefs", "tmpfs"});
}

}  // namespace

Win32Error GetVolumeInformation(const std::u16string& path, VolumeInfo& out) {
  std::string native;
  if (const Win32Error error = ToNative(path, native)) return error;
  char resolved[PATH_MAX];
  if (!realpath(native.c_str(), resolved)) return FromErrno(errno);
  struct statvfs space {};
  if (statvfs(resolved, &space) != 0) return FromErrno(errno);
  Mount mount;
  if (!FindMount(resolved, mount)) mount = {"/", TypeByMagic(resolved)};
  VolumeInfo info;
  info.file_system = Utf16ForDisplay(mount.type);
  info.remote = IsRemote(mount.type);
  info.bytes_free = static_cast<std::uint64_t>(space.f_bavail) * space.f_frsize;
  if (SwapsFoldersAtOnce(mount.type)) info.flags |= FILE_SUPPORTS_TRANSACTIONS;
  out = info;
  return ERROR_SUCCESS;
}

std::u16string MemoryFolder() {
  static constexpr const char* kFolder = "/dev/shm";
  struct statfs status {};
  const bool in_memory = statfs(kFolder, &status) == 0 &&
                         static_cast<long>(status.f_type) == TMPFS_MAGIC &&
                         access(kFolder, W_OK | X_OK) == 0;
  return in_memory ? PathFromNative(kFolder) : std::u16string();
}

Win32Error FlushVolume(const std::u16string& path) {
  std::string native;
  if (const Win32Error error = ToNative(path, native)) return error;
  const Descriptor file(open(native.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file || syncfs(file.get()) != 0) return FromErrno(errno);
  return ERROR_SUCCESS;
}

}  // namespace kelvarion::platform
