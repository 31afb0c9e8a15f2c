// The names of machine accounts as one operation shows them.
#pragma once

#include <string>
#include <unordered_map>

#include "platform/security/security.h"

namespace kelvarion::access {

// Looks each account up once, however many rules it has: name services may be far away. Lives as
// long as the operation, so that no name gets old; for one thread.
class AccountNames {
 public:
  explicit AccountNames(const platform::SecurityAuthority& authority) : authority_(authority) {}

  // DOMAIN\NAME, the bare name where there is no domain, "*" and the SID when the system does not
  // know the account, "Everyone" for the "*" by which rules files mean everybody. The text lives as
  // long as this object.
  const std::u16string& Of(const std::u16string& sid);

 private:
  const platform::SecurityAuthority& authority_;
  std::unordered_map<std::u16string, std::u16string> names_;
};

}  // namespace kelvarion::access
