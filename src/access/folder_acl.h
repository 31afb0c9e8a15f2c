// The access lists of folders. Failures are Win32Exception.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/security/security.h"

namespace kelvarion::access {

// The folder's list, explicit and inherited entries, in order.
std::vector<platform::AccessGrant> ReadFolderDacl(const platform::SecurityAuthority& authority,
                                                  const std::u16string& folder);

// The rights that the list gives the account itself, every entry for it taken together.
std::uint32_t EffectiveRights(const std::vector<platform::AccessGrant>& dacl,
                              const std::u16string& sid);

// Adds the grants to what the folder allows already, drops what it inherited and protects it from
// inheriting again.
void ApplyGrants(platform::SecurityAuthority& authority, const std::u16string& folder,
                 const std::vector<platform::AccessGrant>& grants);

}  // namespace kelvarion::access
