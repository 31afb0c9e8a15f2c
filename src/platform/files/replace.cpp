// Replacing a file by another that takes over who may use it.
#include <acl/libacl.h>
#include <fcntl.h>
#include <sys/acl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <fstream>
#include <memory>

#include "platform/files/descriptor.h"
#include "platform/files/files.h"

namespace kelvarion::platform {
namespace {

struct FreeAcl {
  void operator()(acl_t list) const { acl_free(list); }
};
using Acl = std::unique_ptr<std::remove_pointer_t<acl_t>, FreeAcl>;

Win32Error Result(int outcome) { return outcome == 0 ? ERROR_SUCCESS : FromErrno(errno); }

bool IsUnsupported(int error) { return error == ENOTSUP || error == ENOSYS; }

// The bits that new files of this process do not get. There is no way to ask for the mask without
// setting it, which other threads would notice.
mode_t CurrentUmask() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    unsigned mask = 0;
    if (std::sscanf(line.c_str(), "Umask: %o", &mask) == 1) return mask;
  }
  return 022;
}

// Takes the right to execute away as creating a file with mode 0666 does.
bool ForbidExecution(acl_t list) {
  // A list that names accounts has a mask, which stands for the group's bits of the mode.
  const acl_tag_t limit = acl_equiv_mode(list, nullptr) == 0 ? ACL_GROUP_OBJ : ACL_MASK;
  acl_entry_t entry = nullptr;
  for (int more = acl_get_entry(list, ACL_FIRST_ENTRY, &entry); more == 1;
       more = acl_get_entry(list, ACL_NEXT_ENTRY, &entry)) {
    acl_tag_t tag = ACL_UNDEFINED_TAG;
    acl_permset_t permissions = nullptr;
    if (acl_get_tag_type(entry, &tag) != 0 || acl_get_permset(entry, &permissions) != 0)
      return false;
    if (tag != ACL_USER_OBJ && tag != limit && tag != ACL_OTHER) continue;
    if (acl_delete_perm(permissions, ACL_EXECUTE) != 0) return false;
  }
  return true;
}

// Gives the file the access that the system would have given it, had it been created in the folder
// with mode 0666; `plain` is its mode in a folder without a default access list.
Win32Error AdoptFolderAccess(int file, const std::string& target, mode_t plain) {
  const std::size_t slash = target.find_last_of('/');
  const std::string folder = slash == std::string::npos ? "." : target.substr(0, slash + 1);
  const Acl defaults(acl_get_file(folder.c_str(), ACL_TYPE_DEFAULT));
  if (!defaults && !IsUnsupported(errno)) return FromErrno(errno);
  if (!defaults || acl_entries(defaults.get()) == 0)
    return Result(fchmod(file, plain & ~CurrentUmask()));
  if (!ForbidExecution(defaults.get())) return FromErrno(errno);
  return Result(acl_set_fd(file, defaults.get()));
}

Win32Error AdoptAccessOf(const std::string& target, const struct stat& status, int file) {
  // Only root gives files away; with another account the file passes to whoever writes it. Of the
  // two, the group may still be kept.
  if (fchown(file, status.st_uid, status.st_gid) != 0) {
    if (errno != EPERM) return FromErrno(errno);
    if (fchown(file, static_cast<uid_t>(-1), status.st_gid) != 0 && errno != EPERM)
      return FromErrno(errno);
  }
  const Acl list(acl_get_file(target.c_str(), ACL_TYPE_ACCESS));
  if (!list && !IsUnsupported(errno)) return FromErrno(errno);
  if (list && acl_set_fd(file, list.get()) != 0) return FromErrno(errno);
  return Result(fchmod(file, status.st_mode & 07777));
}

Win32Error AdoptAccess(int file, const std::string& target, NewFile access) {
  struct stat status {};
  if (lstat(target.c_str(), &status) == 0)
    return S_ISREG(status.st_mode) ? AdoptAccessOf(target, status, file) : ERROR_SUCCESS;
  if (errno != ENOENT) return FromErrno(errno);
  if (access == NewFile::kPrivate) return Result(fchmod(file, 0600));
  if (access == NewFile::kEverybodyReads) return Result(fchmod(file, 0644));
  return AdoptFolderAccess(file, target, access == NewFile::kAsFolderSays ? 0666 : 0600);
}

}  // namespace

Win32Error MoveFileReplacing(const std::u16string& from, const std::u16string& to, NewFile access) {
  std::string source;
  std::string target;
  if (const Win32Error error = ToNative(from, source)) return error;
  if (const Win32Error error = ToNative(to, target)) return error;
  // Access is changed through the open file: others who may write to the folder could put a link to
  // a foreign file in its place.
  const Descriptor file(open(source.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
  if (!file) return FromErrno(errno);
  if (const Win32Error error = AdoptAccess(file.get(), target, access)) return error;
  return Result(std::rename(source.c_str(), target.c_str()));
}

}  // namespace kelvarion::platform
