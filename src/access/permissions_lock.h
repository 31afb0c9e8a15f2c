// The lock under which rules files, and the files of users and groups, are read, changed and
// written back.
#pragma once

#include <string>

#include "access/authz_files.h"
#include "svn/held_lock.h"

namespace kelvarion::access {

// Held from construction to destruction; waits for other threads and processes. Readers take no
// lock. A thread that holds one takes no second one of the same scope, and takes the server's
// before a repository's. Throws SvnException "Cannot open file '%s'".
class PermissionsLock {
 public:
  // The files that belong to the server as a whole.
  explicit PermissionsLock(const ServerContext& context) : lock_(GlobalLockFile(context)) {}
  // The rules of one repository.
  PermissionsLock(const ServerContext& context, const std::u16string& repository)
      : lock_(RepositoryLockFile(context, repository)) {}

 private:
  const svn::HeldLock lock_;
};

}  // namespace kelvarion::access
