#include "platform/files/shared_folder.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#include "platform/files/descriptor.h"
#include "platform/files/files.h"
#include "platform/files/open_folder.h"

namespace kelvarion::platform {
namespace {

constexpr int kRealFolder = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

struct Names {
  std::vector<std::string> files;
  std::vector<std::string> folders;
};

Win32Error List(const Descriptor& folder, Names& out) {
  const OpenFolder entries = OpenFolderAt(folder.get(), ".", Links::kRefuse);
  if (!entries) return FromErrno(errno);
  while (const dirent* const entry = NextEntry(entries)) {
    struct stat status {};
    if (fstatat(folder.get(), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) != 0) continue;
    if (S_ISREG(status.st_mode))
      out.files.emplace_back(entry->d_name);
    else if (S_ISDIR(status.st_mode) && entry->d_name[0] != '.')
      out.folders.emplace_back(entry->d_name);
  }
  return ERROR_SUCCESS;
}

Win32Error RemoveFilesIn(const Descriptor& folder, bool and_below,
                         const std::function<bool(std::string_view)>& wanted) {
  Names names;
  if (const Win32Error error = List(folder, names)) return error;
  for (const std::string& name : names.files)
    if (wanted(name) && unlinkat(folder.get(), name.c_str(), 0) != 0 && errno != ENOENT)
      return FromErrno(errno);
  if (!and_below) return ERROR_SUCCESS;
  for (const std::string& name : names.folders) {
    const Descriptor below(openat(folder.get(), name.c_str(), kRealFolder));
    if (!below) return FromErrno(errno);
    if (const Win32Error error = RemoveFilesIn(below, false, wanted)) return error;
  }
  return ERROR_SUCCESS;
}

}  // namespace

Win32Error ReadOwnFile(const std::string& path, std::string& out) {
  // Not to wait for the other end of a pipe.
  const Descriptor file(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  struct stat status {};
  if (!file || fstat(file.get(), &status) != 0) return FromErrno(errno);
  const bool own = status.st_uid == 0 || status.st_uid == geteuid();
  // Where accounts are named, the group's bits are the most that any of them may.
  if (!S_ISREG(status.st_mode) || !own || (status.st_mode & (S_IWGRP | S_IWOTH)) != 0)
    return ERROR_ACCESS_DENIED;
  out.resize(static_cast<std::size_t>(status.st_size));
  std::size_t got = 0;
  const Win32Error error = ReadSome(file.get(), out.data(), out.size(), got);
  out.resize(got);
  return error;
}

Win32Error RemoveFilesBelow(const std::string& base, const std::vector<std::string>& parts,
                            const std::function<bool(std::string_view)>& wanted) {
  Descriptor folder(open(base.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  for (const std::string& part : parts) {
    if (!folder) break;
    folder = Descriptor(openat(folder.get(), part.c_str(), kRealFolder));
  }
  if (!folder) return FromErrno(errno);
  return RemoveFilesIn(folder, true, wanted);
}

}  // namespace kelvarion::platform
