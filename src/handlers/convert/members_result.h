// What clients are told when the members of a group could not be set.
#pragma once

#include <string>

#include "access/groups.h"

namespace kelvarion {

inline constexpr char16_t kCircle[] = u"The members of the group '%s' would lead in a circle";

// WMIException WBEM_E_NOT_FOUND or WBEM_E_CIRCULAR_REFERENCE.
void RequireMembersSet(access::SetMembersResult result, const std::u16string& group);

}  // namespace kelvarion
