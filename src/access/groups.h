// The groups of Subversion authentication.
//
// Names are compared exactly. Members may be users or groups that do not exist. No group contains
// itself, directly or through others. Changes run one at a time, across threads and processes;
// reading waits for nothing. A name that the groups file cannot carry, or that would mean something
// else in a rules file, is refused with WBEM_E_INVALID_METHOD_PARAMETERS before anything is
// changed.
#pragma once

#include <string>
#include <vector>

#include "access/account.h"
#include "context/server_context.h"

namespace kelvarion::access {

enum class CreateGroupResult { kCreated = 0, kExists = 1, kCycle = 2 };
enum class SetMembersResult { kDone = 0, kNoSuchGroup = 1, kCycle = 2 };

// In the order of their names' code units.
std::vector<std::u16string> ListGroups(const ServerContext& context);
bool GroupExists(const ServerContext& context, const std::u16string& name);

// Users and groups in the order in which they were written; empty for a group that does not exist.
std::vector<Account> GetMembers(const ServerContext& context, const std::u16string& name);

// Any result but success leaves the groups as they were.
CreateGroupResult CreateGroup(const ServerContext& context, const std::u16string& name,
                              const std::vector<Account>& members);
SetMembersResult SetMembers(const ServerContext& context, const std::u16string& name,
                            const std::vector<Account>& members);

// Change the members by one step, so that what others add or remove at the same time stays. Members
// that are there already keep their place; one that is not there cannot be removed and is passed
// over.
SetMembersResult AddMembers(const ServerContext& context, const std::u16string& name,
                            const std::vector<Account>& members);
SetMembersResult RemoveMembers(const ServerContext& context, const std::u16string& name,
                               const std::vector<Account>& members);

// Also takes the group out of all others and out of the rules of every repository. False when there
// is no such group; what an interrupted deletion of the name left goes then. Repositories whose
// rules could not be changed are reported as by DeleteUser.
bool DeleteGroup(const ServerContext& context, const std::u16string& name);

}  // namespace kelvarion::access
