#include <algorithm>
#include <filesystem>

#include "platform/files/files.h"
#include "platform/security/accounts.h"
#include "platform/security/folder_access.h"
#include "platform/security/group_store.h"
#include "platform/security/security.h"
#include "platform/security/sid.h"
#include "platform/text/encoding.h"

namespace kelvarion::platform {
namespace {

class LinuxSecurityAuthority : public SecurityAuthority {
 public:
  LinuxSecurityAuthority(const std::string& home, std::unique_ptr<GroupStore> groups)
      : lock_path_(PathFromNative(home + "/groups.lock")), groups_(std::move(groups)) {
    FinishWhatWasBegun();
  }

  Win32Error NormalizeSid(const std::u16string& text, std::u16string& out) const override {
    const std::optional<Sid> sid = ParseSid(text);
    if (!sid) return ERROR_INVALID_SID;
    out = ToText(*sid);
    return ERROR_SUCCESS;
  }

  Win32Error LookupAccountName(const std::u16string& name, std::u16string& sid) const override;
  Win32Error LookupAccountSid(const std::u16string& sid, AccountName& out) const override;

  Win32Error GetAccountSids(const std::u16string& sid,
                            std::vector<std::u16string>& sids) const override;
  Win32Error GetGroupMembers(const std::u16string& group,
                             std::vector<std::u16string>& sids) const override;
  Win32Error SetGroupMembers(const std::u16string& group,
                             const std::vector<std::u16string>& sids) override;
  Win32Error CreateGroup(const std::u16string& group) override {
    return groups_->Create(Utf8ForDisplay(group));
  }

  Win32Error ReadFolderAccess(const std::u16string& folder,
                              std::vector<AccessGrant>& out) const override {
    return ReadFolderGrants(*groups_, AbsolutePath(folder), out);
  }
  Win32Error WriteFolderAccess(const std::u16string& folder, const std::vector<AccessGrant>& grants,
                               bool protect) override;

 private:
  // A process that ends between the change of a group and that of the folders leaves the rest to
  // the next one. One that is still at it needs no help.
  void FinishWhatWasBegun() {
    if (!FoldersNeedRefresh(*groups_)) return;
    const FileLock lock(lock_path_, IfLocked::kGiveUp);
    if (lock.Error() == ERROR_SUCCESS) RefreshFolders(*groups_);
  }
  // The store keeps folders by path, so each must have one.
  static std::string AbsolutePath(const std::u16string& folder) {
    std::error_code error;
    const std::string native = NativePath(folder);
    const std::filesystem::path path = std::filesystem::weakly_canonical(native, error);
    return error ? native : path.string();
  }

  std::u16string lock_path_;  // Held while access is changed: trees are walked one at a time.
  std::unique_ptr<GroupStore> groups_;
};

Win32Error LinuxSecurityAuthority::LookupAccountName(const std::u16string& name,
                                                     std::u16string& sid) const {
  const AccountName account = SplitAccountName(name);
  std::optional<Sid> found = ParseSid(name);
  if (!found) {
    if (const auto well_known = FindWellKnown(account)) found = ParseSid(*well_known);
  }
  if (!found && IsLocalDomain(account.domain)) {
    const Win32Error error = groups_->FindSid(Utf8ForDisplay(account.name), found.emplace());
    if (error == NERR_GroupNotFound)
      found.reset();
    else if (error != ERROR_SUCCESS)
      return error;
  }
  if (!found) found = FindUnixAccount(account);
  if (!found) return ERROR_NONE_MAPPED;
  sid = ToText(*found);
  return ERROR_SUCCESS;
}

Win32Error LinuxSecurityAuthority::LookupAccountSid(const std::u16string& text,
                                                    AccountName& out) const {
  const std::optional<Sid> sid = ParseSid(text);
  if (!sid) return ERROR_INVALID_SID;
  std::optional<AccountName> name = WellKnownName(ToText(*sid));
  if (!name) {
    LocalGroups groups;
    if (const Win32Error error = groups_->ReadAll(groups); error != ERROR_SUCCESS) return error;
    if (const auto group = groups.find(Utf8ForDisplay(ToText(*sid))); group != groups.end())
      name = AccountName{HostName(), Utf16ForDisplay(group->second.name)};
  }
  if (!name) name = UnixAccountName(*sid);
  if (!name) return ERROR_NONE_MAPPED;
  out = *name;
  return ERROR_SUCCESS;
}

Win32Error LinuxSecurityAuthority::GetAccountSids(const std::u16string& text,
                                                  std::vector<std::u16string>& sids) const {
  const std::optional<Sid> account = ParseSid(text);
  if (!account) return ERROR_INVALID_SID;
  sids = {ToText(*account)};
  for (const Sid& group : UnixGroupsOf(*account)) sids.push_back(ToText(group));
  for (std::u16string& group : WellKnownGroupsOf(*account)) sids.push_back(std::move(group));
  std::vector<std::string> holders;
  for (const std::u16string& sid : sids) holders.push_back(Utf8ForDisplay(sid));
  std::vector<Sid> local;
  const Win32Error error = groups_->GroupsHolding(holders, local);
  for (const Sid& group : local) sids.push_back(ToText(group));
  return error;
}

Win32Error LinuxSecurityAuthority::GetGroupMembers(const std::u16string& group,
                                                   std::vector<std::u16string>& sids) const {
  std::vector<std::string> members;
  const Win32Error error = groups_->Members(Utf8ForDisplay(group), members);
  if (error != ERROR_SUCCESS) return error;
  sids.clear();
  for (const std::string& member : members) sids.push_back(Utf16ForDisplay(member));
  return ERROR_SUCCESS;
}

Win32Error LinuxSecurityAuthority::SetGroupMembers(const std::u16string& group,
                                                   const std::vector<std::u16string>& sids) {
  std::vector<std::string> members;
  for (const std::u16string& text : sids) {
    const std::optional<Sid> sid = ParseSid(text);
    if (!sid) return ERROR_INVALID_SID;
    members.push_back(Utf8ForDisplay(ToText(*sid)));
  }
  const FileLock lock(lock_path_);
  if (lock.Error() != ERROR_SUCCESS) return lock.Error();
  const Win32Error error = groups_->SetMembers(Utf8ForDisplay(group), members);
  return error == ERROR_SUCCESS ? RefreshFolders(*groups_) : error;
}

Win32Error LinuxSecurityAuthority::WriteFolderAccess(const std::u16string& folder,
                                                     const std::vector<AccessGrant>& grants,
                                                     bool protect) {
  std::vector<AccessGrant> canonical = grants;
  for (AccessGrant& grant : canonical)
    if (const Win32Error error = NormalizeSid(grant.sid, grant.sid); error != ERROR_SUCCESS)
      return error;
  const FileLock lock(lock_path_);
  if (lock.Error() != ERROR_SUCCESS) return lock.Error();
  return WriteFolderGrants(*groups_, AbsolutePath(folder), canonical, protect);
}

}  // namespace

Win32Error OpenSecurityAuthority(const std::string& home, std::unique_ptr<SecurityAuthority>& out) {
  std::unique_ptr<GroupStore> groups;
  const Win32Error error = GroupStore::Open(home + "/groups.db", groups);
  if (error == ERROR_SUCCESS)
    out = std::make_unique<LinuxSecurityAuthority>(home, std::move(groups));
  return error;
}

}  // namespace kelvarion::platform
