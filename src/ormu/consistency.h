// Whether a slave is what its master is.
#pragma once

#include <cstdint>
#include <string>

#include "ormu/master_session.h"

namespace kelvarion::ormu {

// Compares UUID and every revision up to `until`, which the slave must have: properties, changed
// paths, copies, properties of files and folders and checksums of contents; then reads all of the
// slave's data. Throws SvnException ORMU_ERR_INCONSISTENT naming the first revision that differs
// and what differs in it, over the libraries' error where the slave cannot be read.
void CheckConsistency(MasterSession& master, const std::string& folder, std::int64_t until);

}  // namespace kelvarion::ormu
