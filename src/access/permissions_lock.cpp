#include "access/permissions_lock.h"

#include "access/authz_files.h"
#include "svn/error.h"

namespace kelvarion::access {

PermissionsLock::PermissionsLock(const ServerContext& context)
    : PermissionsLock(GlobalLockFile(context)) {}

PermissionsLock::PermissionsLock(const ServerContext& context, const std::u16string& repository)
    : PermissionsLock(RepositoryLockFile(context, repository)) {}

PermissionsLock::PermissionsLock(const std::u16string& file) : lock_(file) {
  if (const Win32Error error = lock_.Error()) {
    svn::ThrowSystemError(error, Format(u"Cannot open file '%s'", file));
  }
}

}  // namespace kelvarion::access
