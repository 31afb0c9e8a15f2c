#include "repos/maintenance.h"

#include <apr_errno.h>
#include <svn_fs.h>
#include <svn_repos.h>

#include <optional>

#include "errors/exception.h"
#include "ormu/slave_guard.h"
#include "platform/files/tree_size.h"
#include "repos/replication.h"
#include "repos/repository_store.h"
#include "svn/error.h"
#include "svn/repository.h"
#include "svn/text.h"

namespace kelvarion::repos {
namespace {

// The system errors by which a repository shows that it is not there. The Win32 ones come from
// shares of other systems.
bool IsMissing(int code) {
  for (const Win32Error error :
       {ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND, ERROR_OPEN_FAILED, ERROR_NO_MORE_FILES}) {
    if (code == APR_OS_START_SYSERR + static_cast<int>(error)) return true;
  }
  return APR_STATUS_IS_ENOENT(code);
}

}  // namespace

UpgradeResult UpgradeRepository(const ServerContext& context, const std::u16string& name) {
  const auto found = FindRepository(context, name);
  if (!found) return UpgradeResult::kNotFound;
  const svn::Pool pool(context.root_pool());
  try {
    const std::string path = svn::DirentFromPath(GetRepositoryPath(context, *found));
    // The storage of a slave is shut to whoever does not ask for it.
    std::optional<ormu::SlaveWriteAccess> access;
    if (RoleOf(context, *found) == ReplicationRole::kSlave)
      access.emplace(path, svn::Cancellation{[] { return false; }, u""}, pool);
    svn::Check(svn_repos_upgrade2(path.c_str(), FALSE, nullptr, nullptr, pool));
  } catch (const SvnException& exception) {
    if (!IsMissing(exception.code())) throw;
    return UpgradeResult::kNotFound;
  }
  return UpgradeResult::kDone;
}

RepositorySize MeasureRepository(const ServerContext& context, const std::u16string& name) {
  const auto found = FindRepository(context, name);
  if (!found) return {};
  platform::TreeSize size;
  std::u16string failed;
  const std::u16string folder = GetRepositoryPath(context, *found);
  if (const Win32Error error = platform::MeasureTree(folder, size, failed)) {
    throw Win32Exception(error, u"Can't list directory '%s'", failed);
  }
  return {size.bytes, size.bytes_on_disk, size.files, size.folders};
}

bool HasCapability(const ServerContext& context, const std::u16string& name,
                   const std::u16string& capability) {
  const std::u16string path = GetRepositoryPath(context, RequireRepository(context, name));
  const svn::Pool pool(context.root_pool());
  svn_boolean_t has = FALSE;
  svn::Check(svn_repos_has_capability(svn::OpenRepository(path, pool), &has,
                                      svn::Utf8(capability).c_str(), pool));
  return has != FALSE;
}

std::optional<std::int64_t> GetYoungestRevision(const ServerContext& context,
                                                const std::u16string& name) {
  const auto found = FindRepository(context, name);
  if (!found) return std::nullopt;
  const svn::Pool pool(context.root_pool());
  try {
    svn_repos_t* const repository = svn::OpenRepository(GetRepositoryPath(context, *found), pool);
    svn_revnum_t youngest = 0;
    svn::Check(svn_fs_youngest_rev(&youngest, svn_repos_fs(repository), pool));
    return youngest;
  } catch (const SvnException&) {  // That there is none to tell is the answer.
    return std::nullopt;
  }
}

}  // namespace kelvarion::repos
