// The machine's local groups that grant administrative roles, and their members as SID texts.
//
// Concurrent changes of one group end with whichever came last. Failures are Win32Exception.
#pragma once

#include <string>
#include <vector>

#include "platform/com/class_object.h"
#include "platform/security/security.h"

namespace kelvarion::access {

inline constexpr const char16_t* kServerAdminsGroup = u"Kelvarion Server Admins";
inline constexpr const char16_t* kRepositorySupervisorsGroup = u"Kelvarion Repository Supervisors";
inline constexpr const char16_t* kReplicationPartnersGroup = u"Kelvarion Replication Partners";

std::vector<std::u16string> GetGroupMembers(const platform::SecurityAuthority& authority,
                                            const std::u16string& group);
// The membership becomes exactly the list. A text that is no SID is refused before the group is
// touched.
void SetGroupMembers(platform::SecurityAuthority& authority, const std::u16string& group,
                     const std::vector<std::u16string>& sids);

// Whether the client belongs to the group: as a member, through a Unix group or through another
// local group. False as well when that cannot be found out.
bool IsGroupMember(const platform::SecurityAuthority& authority, const std::u16string& group,
                   const ClientToken& client);

std::u16string GetServerAdminsSid(const platform::SecurityAuthority& authority);

}  // namespace kelvarion::access
