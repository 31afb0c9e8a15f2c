// Making revisions of the master in a slave.
#pragma once

#include <svn_fs.h>
#include <svn_repos.h>

#include <functional>
#include <string>

#include "ormu/master_session.h"

namespace kelvarion::ormu {

struct ReplayHooks {
  std::function<void()> on_node;  // Before each change of a file or folder.
  std::function<void(std::int64_t revision)> on_committed;
};

// Makes the revisions from `first`, which is to be the next one, to `last`. Each is there with its
// properties, or nothing of it. Throws as Synchronise does.
void ReplayRevisions(MasterSession& master, svn_repos_t* slave, std::int64_t first,
                     std::int64_t last, const ReplayHooks& hooks);

// Gives a revision the properties; what is as it should be is not written.
void SetRevisionProperties(svn_fs_t* fs, std::int64_t revision, const RevisionProperties& wanted,
                           const svn::Pool& scratch);
RevisionProperties PropertiesOfRevision(svn_fs_t* fs, std::int64_t revision,
                                        const svn::Pool& scratch);

// Removes what is not committed: of replicators that were killed, and of clients that were refused
// and did not clean up. Whoever still wants to commit it fails.
void RemoveTransactions(svn_fs_t* fs, const svn::Pool& scratch);

}  // namespace kelvarion::ormu
