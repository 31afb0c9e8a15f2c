#include "platform/security/inherited_access.h"

#include <sys/stat.h>

#include <filesystem>

#include "platform/files/files.h"
#include "platform/security/acl_entries.h"
#include "platform/security/tree_walk.h"

namespace kelvarion::platform {
namespace {

// Every class of a file made by a program may do at most what its owner may.
AclEntries ForFile(const AclEntries& defaults, mode_t mode) {
  AclEntries entries = defaults;
  const auto owner = static_cast<std::uint8_t>(mode >> 6 & 7);
  for (AclEntry& entry : entries) entry.permissions &= owner;
  return entries;
}

// The mode that shows a list whose entries are all effective.
mode_t ModeOf(const AclEntries& entries) {
  mode_t mode = 0;
  for (const AclEntry& entry : entries) {
    if (entry.tag == ACL_MASK) continue;
    const int shift = entry.tag == ACL_USER_OBJ ? 6 : entry.tag == ACL_OTHER ? 0 : 3;
    mode |= static_cast<mode_t>(entry.permissions) << shift;
  }
  return mode;
}

Win32Error Inherit(const std::string& path, mode_t mode, const AclEntries& defaults) {
  const bool folder = S_ISDIR(mode);
  const AclEntries none;
  const Win32Error error =
      WriteAcl(path, ACL_TYPE_ACCESS, none, folder ? defaults : ForFile(defaults, mode));
  if (error != ERROR_SUCCESS || !folder) return error;
  return WriteAcl(path, ACL_TYPE_DEFAULT, none, defaults);
}

}  // namespace

Win32Error InheritAccess(const std::u16string& folder, const std::function<void()>& each) {
  const std::string native = NativePath(folder);
  if (native.empty()) return ERROR_INVALID_NAME;
  AclEntries defaults;
  const std::string parent = std::filesystem::path(native).parent_path();
  if (const Win32Error error = ReadAcl(parent, ACL_TYPE_DEFAULT, defaults)) return error;
  if (defaults.empty()) return ERROR_SUCCESS;
  const auto inherit = [&](const std::string& path, mode_t mode) {
    return Inherit(path, mode, defaults);
  };
  // The entries of a file have come from its folder; only how far they are effective may be wrong.
  const auto is_wrong = [&](mode_t mode) {
    each();
    return ModeOf(ForFile(defaults, mode)) != (mode & 0777);
  };
  return WalkOwnTree(native, inherit, is_wrong);
}

}  // namespace kelvarion::platform
