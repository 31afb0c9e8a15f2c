// Rules in words, for the event log.
#pragma once

#include <string>

#include "access/account.h"
#include "platform/security/security.h"

namespace kelvarion::access {

// "No Access", "Read Only", "Read Write"; empty for a level that does not exist.
const char16_t* AccessDisplayWord(AccessLevel access);

// One line a rule, by the accounts' display names. Throws Win32Exception for an account that is not
// named by a SID; everyone is.
std::u16string DescribePermissions(const platform::SecurityAuthority& authority,
                                   const PermissionList& rules);

}  // namespace kelvarion::access
