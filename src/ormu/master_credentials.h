// What a session answers when the master asks who is there, and what it makes of the master's
// certificate.
#pragma once

#include <svn_auth.h>

#include "ormu/master_access.h"

namespace kelvarion::ormu {

// Knows what is needed for this access and nothing else: no store, no prompt. The access outlives
// the baton.
svn_auth_baton_t* MakeAuthBaton(const MasterAccess& access, apr_pool_t* pool);

}  // namespace kelvarion::ormu
