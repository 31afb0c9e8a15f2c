// How far the slaves of a home have come.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "svn/pool.h"

namespace kelvarion::ormu {

// Texts are UTF-8. What only the replication service knows is missing where it does not run or has
// not heard from the master yet.
struct SlaveStatus {
  std::string name;
  std::string master_server;
  std::string master_repository;
  bool suspended = false;
  std::int64_t revision = 0;  // The slave's youngest.
  std::optional<std::int64_t> master_revision;
  std::optional<std::int64_t> revisions_behind;
  std::optional<std::int64_t> seconds_behind;  // The age of the oldest revision that is missing.
  std::optional<std::int64_t> last_contact;    // With the master, in seconds since 1970.
  std::string last_error;  // Every message of the chain; empty while replication works.
};

struct ReplicationStatus {
  bool service_runs = false;
  std::vector<SlaveStatus> slaves;  // Ordered by name.
};

// Asks the service of the home; where it cannot be asked, the status is what the repositories in
// `repositories_root` say. A repository that does not say what it is is left out. Throws
// SvnException when the root cannot be read.
ReplicationStatus ReadReplicationStatus(const std::string& home,
                                        const std::u16string& repositories_root,
                                        const svn::Pool& scratch);

}  // namespace kelvarion::ormu
