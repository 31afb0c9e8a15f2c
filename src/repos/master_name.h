// A slave's master as the replication engine is told of it.
#pragma once

#include <string>

#include "repos/replication.h"

namespace kelvarion::repos {

class MasterName {
 public:
  // Throws WMIException WBEM_E_INVALID_METHOD_PARAMETERS for what cannot be a repository's name,
  // SvnException SVN_ERR_BAD_URL for what cannot be a server's.
  explicit MasterName(const MasterAddress& master);
  // UTF-8.
  const char* server() const { return server_.c_str(); }
  const char* repository() const { return repository_.c_str(); }

 private:
  std::string server_;
  std::string repository_;
};

}  // namespace kelvarion::repos
