// What lies directly in the repositories root, whatever it is, and who may change it.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "access/permissions_lock.h"
#include "context/server_context.h"
#include "svn/pool.h"
#include "svn/work_folder.h"

namespace kelvarion::repos {

// Held while names of the root are compared and one of them is given or taken. The replication
// service takes the same lock (svn::LockNames).
using NamesLock = access::PermissionsLock;

// Keeps the rules of a repository from being changed while it is moved away, so that none ends in
// another one of the same name; null for a folder that holds no rules.
std::unique_ptr<access::PermissionsLock> LockRules(const ServerContext& context,
                                                   const std::u16string& repository);

// Where a repository of the root is made or taken apart. What cannot be removed goes to the event
// log.
svn::WorkFolder MakeWorkFolder(const ServerContext& context);

// The entry of exactly the name `name`, else one whose name differs only in letter case; `except`
// is not looked at. Names that are not UTF-8 are passed over. Throws SvnException.
std::optional<std::u16string> FindEntry(const std::u16string& root, const std::u16string& name,
                                        const svn::Pool& scratch,
                                        const std::u16string& except = u"");

}  // namespace kelvarion::repos
