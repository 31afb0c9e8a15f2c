#include "access/folder_acl.h"

#include <algorithm>

#include "errors/exception.h"

namespace kelvarion::access {
namespace {

using platform::AccessGrant;

// What is granted to an account twice is one entry with the rights of both.
void Merge(const platform::SecurityAuthority& authority, const AccessGrant& grant,
           std::vector<AccessGrant>& dacl) {
  AccessGrant added{{}, grant.access_mask, false};
  if (const Win32Error error = authority.NormalizeSid(grant.sid, added.sid); error != ERROR_SUCCESS)
    throw Win32Exception(error, u"Unable to modify ACL");
  const auto present = std::find_if(dacl.begin(), dacl.end(), [&](const AccessGrant& entry) {
    return !entry.inherited && entry.sid == added.sid;
  });
  if (present == dacl.end())
    dacl.push_back(std::move(added));
  else
    present->access_mask |= added.access_mask;
}

}  // namespace

std::vector<AccessGrant> ReadFolderDacl(const platform::SecurityAuthority& authority,
                                        const std::u16string& folder) {
  std::vector<AccessGrant> dacl;
  if (const Win32Error error = authority.ReadFolderAccess(folder, dacl); error != ERROR_SUCCESS)
    throw Win32Exception(error, u"Cannot retrieve security information for '%s'", folder);
  return dacl;
}

std::uint32_t EffectiveRights(const std::vector<AccessGrant>& dacl, const std::u16string& sid) {
  std::uint32_t rights = 0;
  for (const AccessGrant& entry : dacl)
    if (entry.sid == sid) rights |= entry.access_mask;
  return rights;
}

void ApplyGrants(platform::SecurityAuthority& authority, const std::u16string& folder,
                 const std::vector<AccessGrant>& grants) {
  std::vector<AccessGrant> dacl = ReadFolderDacl(authority, folder);
  for (const AccessGrant& grant : grants) Merge(authority, grant, dacl);
  std::erase_if(dacl, [](const AccessGrant& entry) { return entry.inherited; });
  if (const Win32Error error = authority.WriteFolderAccess(folder, dacl, true);
      error != ERROR_SUCCESS)
    throw Win32Exception(error, u"Cannot set security information for '%s'", folder);
}

}  // namespace kelvarion::access
