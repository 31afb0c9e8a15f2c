// Whether the web server can read the files of access rules, too: its workers run as another
// account than whoever looks into them here.
#pragma once

#include <optional>
#include <string>

#include "access/effective/authz_problem.h"
#include "context/server_context.h"
#include "platform/security/account_access.h"

namespace kelvarion::access {

// For one look at the files; one thread. A repositories root that is not open to the web server at
// all is a fault of the installation and no matter of rules: then every file passes.
class ServerReader {
 public:
  explicit ServerReader(const ServerContext& context);

  // What keeps the web server from reading the file; nothing for a file that is missing.
  std::optional<AuthzProblem> WhyUnreadable(const std::u16string& file);

 private:
  std::u16string account_;
  std::optional<platform::AccountAccess> access_;
};

}  // namespace kelvarion::access
