#include "handlers/convert/members_result.h"

#include "errors/exception.h"

namespace kelvarion {

void RequireMembersSet(access::SetMembersResult result, const std::u16string& group) {
  switch (result) {
    case access::SetMembersResult::kDone:
      return;
    case access::SetMembersResult::kNoSuchGroup:
      throw WMIException(WBEM_E_NOT_FOUND, u"There is no group '%s'", group);
    case access::SetMembersResult::kCycle:
      throw WMIException(WBEM_E_CIRCULAR_REFERENCE, kCircle, group);
  }
  throw WMIException(WBEM_E_FAILED);
}

}  // namespace kelvarion
