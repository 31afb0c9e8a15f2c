#include "repos/work_folder.h"

#include <apr_user.h>
#include <svn_io.h>
#include <svn_types.h>

#include <optional>
#include <vector>

#include "access/authz_files.h"
#include "errors/exception.h"
#include "platform/files/files.h"
#include "repos/root_entries.h"
#include "svn/error.h"
#include "svn/remove_tree.h"
#include "svn/repository.h"
#include "svn/text.h"

namespace kelvarion::repos {
namespace {

constexpr apr_fileperms_t kPrivate = APR_FPROT_UREAD | APR_FPROT_UWRITE | APR_FPROT_UEXECUTE;

std::string BaseOf(const ServerContext& context) {
  return svn::JoinDirent(svn::DirentFromPath(access::RepositoriesRoot(context)),
                         svn::Utf8(kWorkFolderName));
}

std::string RepositoryIn(const std::string& folder) {
  return svn::JoinDirent(folder, "repository");
}

// Of a name that nobody can guess, since everybody may make folders there.
std::string MemoryFolderOf(const std::string& folder) {
  const std::u16string memory = platform::MemoryFolder();
  if (memory.empty()) return "";
  return svn::JoinDirent(svn::Utf8(memory), "kelvarion-" + folder.substr(folder.rfind('/') + 1));
}

// Takes the lock of a folder as long as the pool lives. Throws SvnException when another has it.
void LockFolder(const std::string& folder, const svn::Pool& pool) {
  apr_file_t* file = nullptr;
  const std::string path = svn::JoinDirent(folder, "lock");
  svn::Check(svn_io_file_open(&file, path.c_str(), APR_READ | APR_WRITE | APR_CREATE,
                              APR_OS_DEFAULT, pool));
  svn::Check(svn_io_lock_open_file(file, TRUE, TRUE, pool));
}

// The lock file goes last: while it is there, nobody else takes the folder for abandoned.
void RemoveFolder(const ServerContext& context, const std::string& folder,
                  const svn::Pool& pool) noexcept {
  try {
    if (const std::string memory = MemoryFolderOf(folder); !memory.empty())
      svn::RemoveTree(memory, pool);
    svn::RemoveTree(RepositoryIn(folder), pool);
    svn::RemoveTree(folder, pool);
  } catch (const Exception& exception) {
    context.events().LogException(exception);
  }
}

struct Abandoned {
  std::string folder;
  svn::Pool lock;
};

// Folders whose makers are gone, locked for removal. To be called with the names locked, since a
// folder stands unlocked for a moment after it was made.
std::vector<Abandoned> ClaimAbandoned(const std::string& base, const svn::Pool& pool) {
  std::vector<Abandoned> claimed;
  for (const std::u16string& name : svn::ListFolders(svn::PathFromDirent(base), pool)) {
    Abandoned candidate{svn::JoinDirent(base, svn::Utf8(name)), svn::Pool(pool)};
    try {
      LockFolder(candidate.folder, candidate.lock);
      claimed.push_back(std::move(candidate));
    } catch (const SvnException&) {  // In use.
    }
  }
  return claimed;
}

// Nothing for what is no folder; links are not followed.
std::optional<apr_uid_t> OwnerOfFolder(const std::string& path, const svn::Pool& pool) {
  apr_finfo_t info;
  const apr_status_t status =
      apr_stat(&info, path.c_str(), APR_FINFO_TYPE | APR_FINFO_OWNER | APR_FINFO_LINK, pool);
  if (status != APR_SUCCESS || info.filetype != APR_DIR) return std::nullopt;
  return info.user;
}

// The web server's account may write into the root, and what lies in the base is removed: it must
// be one that this server made, not a folder or a link that somebody else put there.
void RequireOwn(const std::string& base, const svn::Pool& pool) {
  const auto owner = OwnerOfFolder(base, pool);
  apr_uid_t self = 0;
  apr_gid_t group = 0;
  apr_uid_current(&self, &group, pool);
  const auto root_owner = OwnerOfFolder(base.substr(0, base.rfind('/')), pool);
  if (owner && (*owner == self || *owner == 0 || owner == root_owner)) return;
  throw SimpleException(
      u"'%s' was not made by this server, which works in a folder of that name. Move it away.",
      svn::PathFromDirent(base));
}

void MakeBase(const std::string& base, const svn::Pool& pool) {
  try {
    svn::Check(svn_io_dir_make(base.c_str(), kPrivate, pool));
  } catch (const SvnException& exception) {
    if (!APR_STATUS_IS_EEXIST(exception.code())) throw;
    RequireOwn(base, pool);
  }
}

}  // namespace

WorkFolder::WorkFolder(const ServerContext& context)
    : context_(context),
      pool_(context.root_pool()),
      base_(BaseOf(context)),
      folder_(svn::JoinDirent(base_, svn_uuid_generate(pool_))),
      repository_(RepositoryIn(folder_)),
      memory_folder_(MemoryFolderOf(folder_)) {
  std::vector<Abandoned> abandoned;
  {
    const NamesLock names(context);
    MakeBase(base_, pool_);
    abandoned = ClaimAbandoned(base_, pool_);
    svn::Check(svn_io_dir_make(folder_.c_str(), APR_OS_DEFAULT, pool_));
    LockFolder(folder_, pool_);
  }
  for (const Abandoned& one : abandoned) RemoveFolder(context, one.folder, pool_);
}

WorkFolder::~WorkFolder() {
  RemoveFolder(context_, folder_, pool_);
  try {
    const NamesLock names(context_);
    svn::Check(svn_io_dir_remove_nonrecursive(base_.c_str(), pool_));
  } catch (const Exception&) {  // Others are at work in theirs; the last one removes it.
  }
}

std::vector<std::u16string> ListAbandonedWork(const ServerContext& context) {
  const svn::Pool pool(context.root_pool());
  const std::string base = BaseOf(context);
  std::vector<std::u16string> folders;
  if (!svn::IsFolder(svn::PathFromDirent(base), pool)) return folders;
  const NamesLock names(context);
  for (const Abandoned& each : ClaimAbandoned(base, pool))
    folders.push_back(svn::PathFromDirent(each.folder));
  return folders;
}

void WorkFolder::RemoveRepository() { svn::RemoveTree(repository_, pool_); }

bool WorkFolder::MakeMemoryFolder() {
  if (memory_folder_.empty()) return false;
  try {
    svn::Check(svn_io_dir_make(memory_folder_.c_str(), kPrivate, pool_));
    return true;
  } catch (const SvnException&) {  // It is only a matter of speed.
    return false;
  }
}

}  // namespace kelvarion::repos
