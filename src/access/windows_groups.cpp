#include "access/windows_groups.h"

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

std::u16string GetServerAdminsSid(const platform::SecurityAuthority& authority) {
  return LookupAccountName(authority, kServerAdminsGroup);
}

}  // namespace kelvarion::access
