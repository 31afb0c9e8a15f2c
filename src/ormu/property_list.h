// Revision properties between the libraries' tables and ours.
#pragma once

#include <apr_hash.h>

#include "ormu/master_session.h"

namespace kelvarion::ormu {

// Those that are replicated: all but the notes that the libraries' own mirroring program leaves in
// revision 0, which would make it take the slave for its work.
RevisionProperties ReplicatedProperties(apr_hash_t* properties);

}  // namespace kelvarion::ormu
