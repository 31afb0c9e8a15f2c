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
  explicit Resolver(const LocalGroups& groups) : groups_(groups) {}

  void Add(const Sid& sid, Permissions permissions) {
    if (const auto uid = UserOf(sid)) {
      // Root may everything, and what an ordinary user can open up is his own.
      if (*uid != 0 && *uid != geteuid()) result.users[*uid] |= permissions;
    } else if (const auto gid = GroupOf(sid)) {
      result.groups[*gid] |= permissions;
    } else if (sid == ParseSid(kSidEveryone)) {
      result.others |= permissions;
    } else if (const auto group = groups_.find(Utf8ForDisplay(ToText(sid)));
               group != groups_.end() && visiting_.insert(group->first).second) {
      for (const std::string& member : group->second.members)
        if (const auto each = ParseSid(Utf16ForDisplay(member))) Add(*each, permissions);
      visiting_.erase(group->first);
    }
  }

  PosixAccess result;

 private:
  const LocalGroups& groups_;
  std::set<std::string> visiting_;  // Groups may hold each other.
};

// The Unix accounts that the grants mean on this machine now: a local group stands for its members.
// Accounts that need no entry (root, and an ordinary user for himself) and those that no Unix
// process can have are left out.
PosixAccess ResolveGrants(const LocalGroups& groups, const std::vector<AccessGrant>& grants) {
  Resolver resolver(groups);
  for (const AccessGrant& grant : grants)
    if (const auto sid = ParseSid(grant.sid)) resolver.Add(*sid, PermissionsOf(grant.access_mask));
  return resolver.result;
}

bool DependsOnMembers(const LocalGroups& groups, const std::vector<AccessGrant>& grants) {
  return std::ranges::any_of(grants, [&](const AccessGrant& grant) {
    const auto sid = ParseSid(grant.sid);
    return sid && groups.contains(Utf8ForDisplay(ToText(*sid)));
  });
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

bool IsCarriedOut(const LocalGroups& groups, const FolderList& list) {
  return !list.unfinished && ResolveGrants(groups, list.grants) == list.carried_out;
}

// What of its list is there in reality.
Win32Error ReadCarriedOut(const GroupStore& store, const std::string& folder,
                          const FolderList& list, std::vector<AccessGrant>& out) {
  LocalGroups groups;
  std::vector<std::string> followed;
  FolderEntries access;
  FolderEntries defaults;
  Win32Error error = store.ReadAll(groups);
  if (error == ERROR_SUCCESS) error = store.Folders(followed);
  if (error == ERROR_SUCCESS) error = ReadEntries(folder, PosixList::kAccess, access);
  if (error == ERROR_SUCCESS) error = ReadEntries(folder, PosixList::kDefault, defaults);
  if (error != ERROR_SUCCESS) return error;
  // A copy of the folder has the list and the entries, but who is a member would not reach it.
  const bool follows = std::ranges::find(followed, folder) != followed.end();
  for (const AccessGrant& grant : list.grants) {
    if (!follows && DependsOnMembers(groups, {grant})) continue;
    const PosixAccess meant = ResolveGrants(groups, {grant});
    if (access.named.Includes(meant) && defaults.named.Includes(meant)) out.push_back(grant);
  }
  return ERROR_SUCCESS;
}

}  // namespace

Win32Error ReadFolderGrants(const GroupStore& store, const std::string& folder,
                            std::vector<AccessGrant>& out) {
  std::vector<AccessGrant> read;
  FolderList list;
  Win32Error error = ReadFolderList(folder, list);
  if (error == ERROR_SUCCESS)
    error = ReadCarriedOut(store, folder, list, read);
  else if (error == ERROR_FILE_NOT_FOUND)
    error = DescribePosixList(folder, read);
  if (error == ERROR_SUCCESS) out = std::move(read);
  return error;
}

Win32Error WriteFolderGrants(GroupStore& store, const std::string& folder,
                             const std::vector<AccessGrant>& grants, bool protect) {
  if (const Win32Error error = RequireOwnFolder(folder); error != ERROR_SUCCESS) return error;
  LocalGroups groups;
  if (const Win32Error error = store.ReadAll(groups); error != ERROR_SUCCESS) return error;
  FolderList before;
  ReadFolderList(folder, before);  // One that cannot be read withdraws nothing.
  const FolderList list{protect, false, grants, ResolveGrants(groups, grants)};
  FolderList intent{protect, true, grants, before.carried_out};
  intent.carried_out.Merge(list.carried_out);
  // What is to be is known before it is carried out: neither the end of the process nor a change of
  // members meanwhile leaves the tree half changed for good.
  Win32Error error = store.SetFolder(folder, true);
  if (error == ERROR_SUCCESS) error = WriteFolderList(folder, intent);
  if (error == ERROR_SUCCESS)
    error = ChangeTree(folder, {intent.carried_out, list.carried_out, protect});
  if (error == ERROR_SUCCESS) error = WriteFolderList(folder, list);
  if (error == ERROR_SUCCESS && !DependsOnMembers(groups, grants))
    error = store.SetFolder(folder, false);
  return error;
}

Win32Error RefreshFolders(GroupStore& store) {
  LocalGroups groups;
  std::vector<std::string> folders;
  Win32Error result = store.ReadAll(groups);
  if (result == ERROR_SUCCESS) result = store.Folders(folders);
  for (const std::string& folder : folders) {
    FolderList list;
    Win32Error error = ReadFolderList(folder, list);
    if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND)
      error = store.SetFolder(folder, false);  // Deleted, or opened up by other means.
    else if (error == ERROR_SUCCESS && !IsCarriedOut(groups, list))
      error = WriteFolderGrants(store, folder, list.grants, list.is_protected);
    if (result == ERROR_SUCCESS) result = error;
  }
  return result;
}

bool FoldersNeedRefresh(const GroupStore& store) {
  LocalGroups groups;
  std::vector<std::string> folders;
  if (store.ReadAll(groups) != ERROR_SUCCESS || store.Folders(folders) != ERROR_SUCCESS)
    return false;  // Whoever opens the store next looks again.
  return std::ranges::any_of(folders, [&](const std::string& folder) {
    FolderList list;
    return ReadFolderList(folder, list) == ERROR_SUCCESS && !IsCarriedOut(groups, list);
  });
}

}  // namespace kelvarion::platform
