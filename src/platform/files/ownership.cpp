#include "platform/files/ownership.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "platform/files/files.h"

namespace kelvarion::platform {
namespace {

constexpr int kHold = O_PATH | O_CLOEXEC;

}  // namespace

Win32Error HeldFile::Hold(Descriptor file, HeldFile& out) {
  struct stat status {};
  if (!file || fstat(file.get(), &status) != 0) return FromErrno(errno);
  const bool folder = S_ISDIR(status.st_mode);
  out.ownership_ = {.user = status.st_uid,
                    .group = status.st_gid,
                    .mode = status.st_mode & 07777U,
                    .link = S_ISLNK(status.st_mode),
                    .folder = folder,
                    .shared = !folder && status.st_nlink > 1};
  out.file_ = std::move(file);
  return ERROR_SUCCESS;
}

Win32Error HeldFile::OpenFolder(const std::string& path, HeldFile& out) {
  return Hold(Descriptor(open(path.c_str(), kHold | O_DIRECTORY)), out);
}

Win32Error HeldFile::Open(const std::string& relative, HeldFile& out) const {
  const std::size_t slash = relative.find('/');
  const std::string name = relative.substr(0, slash);
  HeldFile found;
  if (const Win32Error error =
          Hold(Descriptor(openat(file_.get(), name.c_str(), kHold | O_NOFOLLOW)), found))
    return error;
  if (slash != relative.npos) return found.Open(relative.substr(slash + 1), out);
  out = std::move(found);
  return ERROR_SUCCESS;
}

Win32Error HeldFile::List(std::vector<std::string>& names) const {
  if (!ownership_.folder) return ERROR_SUCCESS;
  std::error_code error;
  for (std::filesystem::directory_iterator entry(Same(), error), end; !error && entry != end;
       entry.increment(error))
    names.push_back(entry->path().filename().string());
  return FromErrno(error.value());
}

Win32Error HeldFile::ChangeOwner(std::uint32_t user, std::uint32_t group) const {
  if (!MayBeChanged()) return ERROR_NOT_SUPPORTED;
  return fchownat(file_.get(), "", user, group, AT_EMPTY_PATH) == 0 ? ERROR_SUCCESS
                                                                    : FromErrno(errno);
}

Win32Error HeldFile::ChangeMode(std::uint32_t mode) const {
  if (!MayBeChanged()) return ERROR_NOT_SUPPORTED;
  return chmod(Same().c_str(), mode) == 0 ? ERROR_SUCCESS : FromErrno(errno);
}

}  // namespace kelvarion::platform
