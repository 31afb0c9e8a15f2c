// What a repository is in replication: nothing, a master or a slave. The file ormu.conf at its top
// says so, replaced whole, so that a repository always has exactly one role.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "svn/pool.h"

namespace kelvarion::svn {

struct ReplicaRole {
  bool master = false;
  bool suspended = false;
  // Of slaves, UTF-8: host[:port] of the master's server and the master's name there.
  std::string master_server;
  std::string master_repository;
  friend bool operator==(const ReplicaRole&, const ReplicaRole&) = default;
};

// `folder` is the repository's, in the libraries' form. Nothing for a repository without a role.
// Throws SvnException, also for a file that says something else.
std::optional<ReplicaRole> ReadReplicaRole(const std::string& folder, const Pool& scratch);
// Fails for a master whose name cannot stand in a line.
void WriteReplicaRole(const std::string& folder, const ReplicaRole& role, const Pool& scratch);
void RemoveReplicaRole(const std::string& folder, const Pool& scratch);
// What `change` makes of the role takes its place. Nobody writes or removes it meanwhile; what is
// thrown leaves it.
using RoleChange = std::function<ReplicaRole(const std::optional<ReplicaRole>& role)>;
void ChangeReplicaRole(const std::string& folder, const RoleChange& change, const Pool& scratch);

}  // namespace kelvarion::svn
