#include "access/permission_description.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "access/sid.h"
#include "platform/text/compare.h"

namespace kelvarion::access {
namespace {

std::u16string DisplayName(const platform::SecurityAuthority& authority, const Account& account) {
  if (account.kind == AccountKind::Everyone || account.name == u"*") return u"Everyone";
  return AccountDisplayName(authority, ParseSidString(authority, account.name));
}

}  // namespace

const char16_t* AccessDisplayWord(AccessLevel access) {
  switch (access) {
    case AccessLevel::NoAccess:
      return u"No Access";
    case AccessLevel::ReadOnly:
      return u"Read Only";
    case AccessLevel::ReadWrite:
      return u"Read Write";
  }
  return u"";
}

std::u16string DescribePermissions(const platform::SecurityAuthority& authority,
                                   const PermissionList& rules) {
  if (rules.empty()) return u"\t<not specified>\r\n";
  std::vector<std::pair<std::u16string, AccessLevel>> lines;
  for (const PermissionEntry& entry : rules) {
    lines.emplace_back(DisplayName(authority, entry.account), entry.access);
  }
  std::stable_sort(lines.begin(), lines.end(), [](const auto& a, const auto& b) {
    return platform::CompareIgnoreCase(a.first, b.first) < 0;
  });
  std::u16string text;
  for (const auto& [name, access] : lines) {
    text += u"\t" + name + u" = " + AccessDisplayWord(access) + u"\r\n";
  }
  return text;
}

}  // namespace kelvarion::access
