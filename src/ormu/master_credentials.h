// What a session answers when the master asks who is there, and what it makes of the master's
// certificate.
#pragma once

#include <svn_auth.h>

#include <optional>

#include "ormu/master_session.h"

namespace kelvarion::ormu {

// Outlives the baton.
struct Credentials {
  MasterAccess access;
  // The certificate that was refused last.
  std::optional<ShownCertificate> refused;
};

// Knows these credentials and nothing else: no store, no prompt.
svn_auth_baton_t* MakeAuthBaton(Credentials& credentials, apr_pool_t* pool);

}  // namespace kelvarion::ormu
