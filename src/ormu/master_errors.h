// What a failed question to a master means to whoever asked for replication.
#pragma once

#include "ormu/master_session.h"
#include "svn/error.h"

namespace kelvarion::ormu {

// Throws the chain, which it takes over, under the code that platform/ormu/ormu.h has for it; a
// cancelled operation's as it is.
[[noreturn]] void ThrowMasterError(const Master& master, svn_error_t* chain);

}  // namespace kelvarion::ormu
