// What a deleted account leaves behind in the rules of repositories.
#pragma once

#include "access/account.h"
#include "context/server_context.h"

namespace kelvarion::access {

// Of users and groups of Subversion authentication. A deletion is noted before the account goes and
// until its rules have: who is told to delete an account that is gone completes what was
// interrupted, and changes nothing else. The caller of these two holds the server's lock.
void NoteDeletion(const ServerContext& context, const Account& account, const svn::Pool& pool);
bool IsDeletionNoted(const ServerContext& context, const Account& account, const svn::Pool& pool);

// Removes the account's rules from every repository, and then the note. A repository that fails is
// logged and passed over; SimpleException then says how many did, and the note stays. The caller
// holds no lock.
void PurgeAccount(const ServerContext& context, const Account& account);

}  // namespace kelvarion::access
