// Bringing a slave to the state of its master.
//
// A slave is named by its folder, in the libraries' form. Each revision is made as a whole with its
// properties or not at all, so work may be killed at any moment and is taken up where it ended.
// One replicator works on a slave at a time; others wait for it.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "ormu/master_session.h"

namespace kelvarion::ormu {

std::int64_t YoungestRevision(const std::string& folder, const svn::Pool& scratch);

// Told after each revision that the slave got.
using SyncProgress = std::function<void(std::int64_t revision)>;

// Replays what the master has and the slave has not, up to `until`, and returns the slave's
// youngest revision then. Far behind, it works with less regard for other users of the machine's
// memory, and flushes everything once at the end; a machine that lost its power meanwhile makes the
// next call begin again from the last revision that is sure to be on the disk.
//
// Whether the slave is suspended is the caller's to know. Throws SvnException:
// ORMU_ERR_WRONG_ROLE for what is no slave; ORMU_ERR_DIVERGED when the slave has other revisions
// than the master, before anything is changed; as MasterSession does; or the slave's own trouble.
std::int64_t Synchronise(MasterSession& master, const std::string& folder, std::int64_t until,
                         const SyncProgress& progress);

// Gives the revisions from `first` to `last`, which both have, the properties that they have on the
// master. Returns how many were different. Throws as Synchronise does.
std::int64_t SynchroniseProperties(MasterSession& master, const std::string& folder,
                                   std::int64_t first, std::int64_t last);

// Throws ORMU_ERR_DIVERGED unless the repository, a slave or not, could follow the master: the same
// UUID, no revision that the master lacks, and the same changes in its youngest one. Returns which
// one that is.
std::int64_t RequireSameHistory(MasterSession& master, const std::string& folder);

}  // namespace kelvarion::ormu
