#include "access/windows_groups.h"

#include <algorithm>

#include "access/sid.h"
#include "errors/exception.h"

namespace kelvarion::access {

std::vector<std::u16string> GetGroupMembers(const platform::SecurityAuthority& authority,
                                            const std::u16string& group) {
  std::vector<std::u16string> sids;
  if (const Win32Error error = authority.GetGroupMembers(group, sids); error != ERROR_SUCCESS)
    throw Win32Exception(error, u"Cannot get group members for '%s'", group);
  return sids;
}

void SetGroupMembers(platform::SecurityAuthority& authority, const std::u16string& group,
                     const std::vector<std::u16string>& sids) {
  std::vector<std::u16string> canonical;
  for (const std::u16string& sid : sids) canonical.push_back(ParseSidString(authority, sid));
  if (const Win32Error error = authority.SetGroupMembers(group, canonical); error != ERROR_SUCCESS)
    throw Win32Exception(error, u"Cannot set group members for '%s'", group);
}

bool IsGroupMember(const platform::SecurityAuthority& authority, const std::u16string& group,
                   const ClientToken& client) {
  std::u16string group_sid;
  if (authority.LookupAccountName(group, group_sid) != ERROR_SUCCESS) return false;
  const auto stands_for_group = [&](const std::u16string& sid) {
    std::vector<std::u16string> sids;
    return authority.GetAccountSids(sid, sids) == ERROR_SUCCESS &&
           std::ranges::find(sids, group_sid) != sids.end();
  };
  // A process may be in Unix groups that the user database does not know its user to be in.
  return stands_for_group(client.user_sid) ||
         std::ranges::any_of(client.group_sids, stands_for_group);
}

std::u16string GetServerAdminsSid(const platform::SecurityAuthority& authority) {
  return LookupAccountName(authority, kServerAdminsGroup);
}

}  // namespace kelvarion::access
