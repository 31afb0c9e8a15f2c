// What a deleted account leaves behind in the rules of repositories.
#pragma once

#include "access/account.h"
#include "context/server_context.h"

namespace kelvarion::access {

// Removes the rules of a user or group of Subversion authentication from every repository. One that
// fails is logged and passed over; SimpleException then says how many did. The caller holds no
// repository's lock.
void PurgeAccount(const ServerContext& context, const Account& account);

}  // namespace kelvarion::access
