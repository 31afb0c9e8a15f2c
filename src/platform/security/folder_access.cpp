#include "platform/security/folder_access.h"

#include <unistd.h>

#include <algorithm>
#include <set>

#include "platform/security/folder_list.h"
#include "platform/security/tree_walk.h"
#include "platform/text/encoding.h"

namespace kelvarion::platform {
namespace {

// The rights of a file by which the mode's three bits go.
constexpr std::uint32_t kReadData = 0x1;
constexpr std::uint32_t kWriteData = 0x2;
constexpr std::uint32_t kExecute = 0x20;
constexpr std::uint32_t kReadAndExecute = 0x1200A9;
constexpr std::uint32_t kRead = 0x120089;
constexpr std::uint32_t kWriteOnly = 0x120116;

Permissions PermissionsOf(std::uint32_t mask) {
  return static_cast<Permissions>(((mask & kReadData) ? 4 : 0) | ((mask & kWriteData) ? 2 : 0) |
                                  ((mask & kExecute) ? 1 : 0));
}

std::uint32_t MaskOf(Permissions permissions) {
  if ((permissions & 6) == 6) return kAccessModify;
  if (permissions & 4) return (permissions & 1) ? kReadAndExecute : kRead;
  return (permissions & 2) ? kWriteOnly : 0;
}

class Resolver {
 public:
  explicit Resolver(const GroupStore& groups) : groups_(groups) {}

  void Add(const Sid& sid, Permissions permissions) {
    if (const auto uid = UserOf(sid)) {
      // Root may everything, and what an ordinary user can open up is his own.
      if (*uid != 0 && *uid != geteuid()) result.users[*uid] |= permissions;
    } else if (const auto gid = GroupOf(sid)) {
      result.groups[*gid] |= permissions;
    } else if (sid == ParseSid(kSidEveryone)) {
      result.others |= permissions;
    } else if (const auto name = groups_.NameOf(sid); name && visiting_.insert(*name).second) {
      std::vector<std::string> members;
      groups_.Members(*name, members);
      for (const std::string& member : members)
        if (const auto each = ParseSid(Utf16ForDisplay(member))) Add(*each, permissions);
      visiting_.erase(*name);
    }
  }

  PosixAccess result;

 private:
  const GroupStore& groups_;
  std::set<std::string> visiting_;  // Groups may hold each other.
};

// Whether changes of groups are carried out on the folder.
bool Follows(const GroupStore& groups, const std::string& folder) {
  std::vector<std::string> folders;
  groups.Folders(folders);
  return std::ranges::find(folders, folder) != folders.end();
}

bool DependsOnMembers(const GroupStore& groups, const std::vector<AccessGrant>& grants) {
  for (const AccessGrant& grant : grants)
    if (const auto sid = ParseSid(grant.sid); sid && groups.NameOf(*sid)) return true;
  return false;
}

void Describe(const PosixAccess& access, const PosixAccess& from_parent,
              std::vector<AccessGrant>& out) {
  const auto inherited = [](const auto& parent, const auto& entry) {
    const auto found = parent.find(entry.first);
    return found != parent.end() && found->second == entry.second;
  };
  for (const auto& entry : access.users)
    out.push_back(
        {ToText(UserSid(entry.first)), MaskOf(entry.second), inherited(from_parent.users, entry)});
  for (const auto& entry : access.groups)
    out.push_back({ToText(GroupSid(entry.first)), MaskOf(entry.second),
                   inherited(from_parent.groups, entry)});
}

// What a mode gives to the owning group and to all others counts as inherited: nobody granted it.
Win32Error DescribePosixList(const std::string& folder, std::vector<AccessGrant>& out) {
  FolderEntries entries;
  if (const Win32Error error = ReadEntries(folder, PosixList::kAccess, entries);
      error != ERROR_SUCCESS)
    return error;
  FolderEntries parent;
  ReadEntries(folder + "/..", PosixList::kDefault, parent);
  out.push_back(
      {ToText(UserSid(entries.owner)),
       entries.owner_permissions == 7 ? kAccessFullControl : MaskOf(entries.owner_permissions),
       false});
  Describe(entries.named, parent.named, out);
  if (entries.group_permissions != 0)
    out.push_back(
        {ToText(GroupSid(entries.owning_group)), MaskOf(entries.group_permissions), true});
  if (entries.named.others != 0) out.push_back({kSidEveryone, MaskOf(entries.named.others), true});
  return ERROR_SUCCESS;
}

bool IsCarriedOut(const GroupStore& groups, const FolderList& list) {
  return !list.unfinished && ResolveGrants(groups, list.grants) == list.carried_out;
}

}  // namespace

PosixAccess ResolveGrants(const GroupStore& groups, const std::vector<AccessGrant>& grants) {
  Resolver resolver(groups);
  for (const AccessGrant& grant : grants)
    if (const auto sid = ParseSid(grant.sid)) resolver.Add(*sid, PermissionsOf(grant.access_mask));
  return resolver.result;
}

Win32Error ReadFolderGrants(const GroupStore& groups, const std::string& folder,
                            std::vector<AccessGrant>& out) {
  std::vector<AccessGrant> read;
  FolderList list;
  Win32Error error = ReadFolderList(folder, list);
  if (error == ERROR_SUCCESS) {
    FolderEntries access;
    FolderEntries defaults;
    error = ReadEntries(folder, PosixList::kAccess, access);
    if (error == ERROR_SUCCESS) error = ReadEntries(folder, PosixList::kDefault, defaults);
    // A copy of the folder has the list and the entries, but who is a member would not reach it.
    const bool followed = Follows(groups, folder);
    for (const AccessGrant& grant : list.grants) {
      if (!followed && DependsOnMembers(groups, {grant})) continue;
      const PosixAccess meant = ResolveGrants(groups, {grant});
      if (access.named.Includes(meant) && defaults.named.Includes(meant)) read.push_back(grant);
    }
  } else if (error == ERROR_FILE_NOT_FOUND) {
    error = DescribePosixList(folder, read);
  }
  if (error == ERROR_SUCCESS) out = std::move(read);
  return error;
}

Win32Error WriteFolderGrants(GroupStore& groups, const std::string& folder,
                             const std::vector<AccessGrant>& grants, bool protect) {
  if (const Win32Error error = RequireOwnFolder(folder); error != ERROR_SUCCESS) return error;
  FolderList before;
  ReadFolderList(folder, before);  // One that cannot be read withdraws nothing.
  const FolderList list{protect, false, grants, ResolveGrants(groups, grants)};
  FolderList intent{protect, true, grants, before.carried_out};
  intent.carried_out.Merge(list.carried_out);
  // What is to be is known before it is carried out: neither the end of the process nor a change of
  // members meanwhile leaves the tree half changed for good.
  Win32Error error = groups.SetFolder(folder, true);
  if (error == ERROR_SUCCESS) error = WriteFolderList(folder, intent);
  if (error == ERROR_SUCCESS)
    error = ChangeTree(folder, {intent.carried_out, list.carried_out, protect});
  if (error == ERROR_SUCCESS) error = WriteFolderList(folder, list);
  if (error == ERROR_SUCCESS && !DependsOnMembers(groups, grants))
    error = groups.SetFolder(folder, false);
  return error;
}

Win32Error RefreshFolders(GroupStore& groups) {
  std::vector<std::string> folders;
  Win32Error result = groups.Folders(folders);
  for (const std::string& folder : folders) {
    FolderList list;
    Win32Error error = ReadFolderList(folder, list);
    if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND)
      error = groups.SetFolder(folder, false);  // Deleted, or opened up by other means.
    else if (error == ERROR_SUCCESS && !IsCarriedOut(groups, list))
      error = WriteFolderGrants(groups, folder, list.grants, list.is_protected);
    if (result == ERROR_SUCCESS) result = error;
  }
  return result;
}

bool FoldersNeedRefresh(const GroupStore& groups) {
  std::vector<std::string> folders;
  groups.Folders(folders);
  return std::ranges::any_of(folders, [&](const std::string& folder) {
    FolderList list;
    return ReadFolderList(folder, list) == ERROR_SUCCESS && !IsCarriedOut(groups, list);
  });
}

}  // namespace kelvarion::platform
