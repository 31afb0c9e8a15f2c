#include "platform/security/posix_access.h"

#include <acl/libacl.h>
#include <sys/acl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <memory>

#include "platform/files/files.h"
#include "platform/security/acl_entries.h"
#include "platform/security/tree_walk.h"

namespace kelvarion::platform {
namespace {

constexpr Permissions kAll = 7;

bool Covers(const std::map<std::uint32_t, Permissions>& have,
            const std::map<std::uint32_t, Permissions>& wanted) {
  return std::all_of(wanted.begin(), wanted.end(), [&](const auto& entry) {
    const auto found = have.find(entry.first);
    return found != have.end() && (entry.second & ~found->second) == 0;
  });
}

bool Withdrawn(const PosixAccess& withdraw, const AclEntry& entry) {
  return (entry.tag == ACL_USER && withdraw.users.contains(entry.id)) ||
         (entry.tag == ACL_GROUP && withdraw.groups.contains(entry.id));
}

void Put(AclEntries& entries, acl_tag_t tag, std::uint32_t id, Permissions permissions) {
  for (AclEntry& entry : entries)
    if (entry.tag == tag && entry.id == id) {
      entry.permissions = permissions;
      return;
    }
  entries.push_back({tag, id, permissions});
}

// A folder that can be read can be entered; a file takes over what its owner may not do with it.
Permissions Allowed(Permissions granted, bool folder, Permissions owner) {
  if (folder) return static_cast<Permissions>((granted & 4) ? granted | 1 : granted);
  return static_cast<Permissions>(granted & (owner | 4));
}

void Change(const PosixChange& change, bool folder, AclEntries& entries) {
  Permissions owner = 0;
  for (AclEntry& entry : entries) {
    if (entry.tag != ACL_USER_OBJ) continue;
    if (folder) entry.permissions = kAll;
    owner = entry.permissions;
  }
  std::erase_if(entries, [&](const AclEntry& entry) { return Withdrawn(change.withdraw, entry); });
  for (const auto& [uid, granted] : change.grant.users)
    Put(entries, ACL_USER, uid, Allowed(granted, folder, owner));
  for (const auto& [gid, granted] : change.grant.groups)
    Put(entries, ACL_GROUP, gid, Allowed(granted, folder, owner));
  if (change.only_named) Put(entries, ACL_GROUP_OBJ, 0, 0);
  if (change.only_named || change.grant.others != 0)
    Put(entries, ACL_OTHER, 0, Allowed(change.grant.others, folder, owner));
}

Win32Error ChangeOne(const std::string& path, mode_t mode, const PosixChange& change) {
  AclEntries access;
  Win32Error error = ReadAcl(path, ACL_TYPE_ACCESS, access);
  if (error != ERROR_SUCCESS) return error;
  const bool folder = S_ISDIR(mode);
  const AclEntries before = access;
  Change(change, folder, access);
  error = WriteAcl(path, ACL_TYPE_ACCESS, before, access);
  if (error != ERROR_SUCCESS || !folder) return error;

  AclEntries defaults;
  error = ReadAcl(path, ACL_TYPE_DEFAULT, defaults);
  if (error != ERROR_SUCCESS) return error;
  const AclEntries defaults_before = defaults;
  if (defaults.empty())
    defaults = {{ACL_USER_OBJ, 0, kAll}, {ACL_GROUP_OBJ, 0, 0}, {ACL_OTHER, 0, 0}};
  Change(change, true, defaults);
  return WriteAcl(path, ACL_TYPE_DEFAULT, defaults_before, defaults);
}

}  // namespace

bool PosixAccess::Includes(const PosixAccess& other) const {
  return Covers(users, other.users) && Covers(groups, other.groups) &&
         (other.others & ~others) == 0;
}

void PosixAccess::Merge(const PosixAccess& other) {
  for (const auto& [uid, permissions] : other.users) users[uid] |= permissions;
  for (const auto& [gid, permissions] : other.groups) groups[gid] |= permissions;
  others |= other.others;
}

Win32Error ChangeTree(const std::string& folder, const PosixChange& change) {
  const auto visit = [&](const std::string& path, mode_t mode) {
    return ChangeOne(path, mode, change);
  };
  const Win32Error error = WalkOwnTree(folder, visit);
  // A commit moves what it wrote to another folder: one that the walk had not come to yet into one
  // that it had left. Whatever is made after the first walk has the right list wherever it goes.
  return error == ERROR_SUCCESS ? WalkOwnTree(folder, visit) : error;
}

Win32Error ReadEntries(const std::string& folder, PosixList list, FolderEntries& out) {
  struct stat status {};
  if (stat(folder.c_str(), &status) != 0) return FromErrno(errno);
  AclEntries entries;
  const Win32Error error =
      ReadAcl(folder, list == PosixList::kAccess ? ACL_TYPE_ACCESS : ACL_TYPE_DEFAULT, entries);
  if (error != ERROR_SUCCESS) return error;
  out = {};
  out.owner = status.st_uid;
  out.owning_group = status.st_gid;
  Permissions mask = kAll;
  for (const AclEntry& entry : entries)
    if (entry.tag == ACL_MASK) mask = entry.permissions;
  for (const AclEntry& entry : entries) {
    const auto effective = static_cast<Permissions>(entry.permissions & mask);
    if (entry.tag == ACL_USER) out.named.users[entry.id] = effective;
    if (entry.tag == ACL_GROUP) out.named.groups[entry.id] = effective;
    if (entry.tag == ACL_GROUP_OBJ) out.group_permissions = effective;
    if (entry.tag == ACL_USER_OBJ) out.owner_permissions = entry.permissions;
    if (entry.tag == ACL_OTHER) out.named.others = entry.permissions;
  }
  return ERROR_SUCCESS;
}

}  // namespace kelvarion::platform
