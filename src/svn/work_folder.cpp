#include "svn/work_folder.h"

#include <apr_user.h>
#include <svn_io.h>
#include <svn_types.h>

#include <memory>

#include "svn/error.h"
#include "svn/remove_tree.h"
#include "svn/repository.h"
#include "svn/text.h"
#include "util/server_files.h"

namespace kelvarion::svn {
namespace {

constexpr apr_fileperms_t kPrivate = APR_FPROT_UREAD | APR_FPROT_UWRITE | APR_FPROT_UEXECUTE;

std::string RepositoryIn(const std::string& folder) { return JoinDirent(folder, "repository"); }

std::u16string LockIn(const std::string& folder) {
  return PathFromDirent(JoinDirent(folder, "lock"));
}

// Of a name that nobody can guess, since everybody may make folders there.
std::string MemoryFolderOf(const std::string& folder) {
  const std::u16string memory = platform::MemoryFolder();
  if (memory.empty()) return "";
  return JoinDirent(Utf8(memory), "kelvarion-" + folder.substr(folder.rfind('/') + 1));
}

// The lock file goes last: while it is there, nobody else takes the folder for abandoned.
void RemoveFolder(const std::string& folder, const WorkFolder::Trouble& trouble,
                  const Pool& pool) noexcept {
  try {
    if (const std::string memory = MemoryFolderOf(folder); !memory.empty())
      RemoveTree(memory, pool);
    RemoveTree(RepositoryIn(folder), pool);
    RemoveTree(folder, pool);
  } catch (const Exception& exception) {
    trouble(exception);
  }
}

struct Abandoned {
  std::string folder;
  std::unique_ptr<platform::FileLock> lock;
};

// Folders whose makers are gone, locked for removal. To be called with the names locked, since a
// folder stands unlocked for a moment after it was made.
std::vector<Abandoned> ClaimAbandoned(const std::string& base, const Pool& pool) {
  std::vector<Abandoned> claimed;
  for (const std::u16string& name : ListFolders(PathFromDirent(base), pool)) {
    const std::string folder = JoinDirent(base, Utf8(name));
    auto lock = std::make_unique<platform::FileLock>(LockIn(folder), platform::IfLocked::kGiveUp);
    // In use, unless it has been got.
    if (lock->Error() == ERROR_SUCCESS) claimed.push_back({folder, std::move(lock)});
  }
  return claimed;
}

// Nothing for what is no folder; links are not followed.
std::optional<apr_uid_t> OwnerOfFolder(const std::string& path, const Pool& pool) {
  apr_finfo_t info;
  const apr_status_t status =
      apr_stat(&info, path.c_str(), APR_FINFO_TYPE | APR_FINFO_OWNER | APR_FINFO_LINK, pool);
  if (status != APR_SUCCESS || info.filetype != APR_DIR) return std::nullopt;
  return info.user;
}

// The web server's account may write into the root, and what lies in the base is removed: it must
// be one that this server made, not a folder or a link that somebody else put there.
void RequireOwn(const std::string& base, const Pool& pool) {
  const auto owner = OwnerOfFolder(base, pool);
  apr_uid_t self = 0;
  apr_gid_t group = 0;
  apr_uid_current(&self, &group, pool);
  const auto root_owner = OwnerOfFolder(base.substr(0, base.rfind('/')), pool);
  if (owner && (*owner == self || *owner == 0 || owner == root_owner)) return;
  throw SimpleException(
      u"'%s' was not made by this server, which works in a folder of that name. Move it away.",
      PathFromDirent(base));
}

void MakeBase(const std::string& base, const Pool& pool) {
  try {
    Check(svn_io_dir_make(base.c_str(), kPrivate, pool));
  } catch (const SvnException& exception) {
    if (!APR_STATUS_IS_EEXIST(exception.code())) throw;
    RequireOwn(base, pool);
  }
}

}  // namespace

HeldLock LockNames(const std::string& root) {
  return HeldLock(PathFromDirent(JoinDirent(root, server_files::kGlobalLock)));
}

WorkFolder::WorkFolder(const std::string& root, Trouble trouble, const Pool& parent)
    : pool_(parent),
      trouble_(std::move(trouble)),
      root_(root),
      base_(JoinDirent(root_, server_files::kWorkFolder)),
      folder_(JoinDirent(base_, svn_uuid_generate(pool_))),
      repository_(RepositoryIn(folder_)) {
  std::vector<Abandoned> abandoned;
  {
    const HeldLock names = LockNames(root_);
    MakeBase(base_, pool_);
    abandoned = ClaimAbandoned(base_, pool_);
    Check(svn_io_dir_make(folder_.c_str(), APR_OS_DEFAULT, pool_));
    in_use_.emplace(LockIn(folder_));
  }
  for (const Abandoned& one : abandoned) RemoveFolder(one.folder, trouble_, pool_);
}

WorkFolder::~WorkFolder() {
  RemoveFolder(folder_, trouble_, pool_);
  try {
    const HeldLock names = LockNames(root_);
    Check(svn_io_dir_remove_nonrecursive(base_.c_str(), pool_));
  } catch (const Exception&) {  // Others are at work in theirs; the last one removes it.
  }
}

void WorkFolder::RemoveRepository() { RemoveTree(repository_, pool_); }

std::string WorkFolder::MakeMemoryFolder() {
  const std::string folder = MemoryFolderOf(folder_);
  if (folder.empty()) return folder;
  try {
    Check(svn_io_dir_make(folder.c_str(), kPrivate, pool_));
    return folder;
  } catch (const SvnException&) {  // It is only a matter of speed.
    return {};
  }
}

std::vector<std::u16string> ListAbandonedWork(const std::string& root, const Pool& scratch) {
  const Pool pool(scratch);
  const std::string base = JoinDirent(root, server_files::kWorkFolder);
  std::vector<std::u16string> folders;
  if (!IsFolder(PathFromDirent(base), pool)) return folders;
  const HeldLock names = LockNames(root);
  for (const Abandoned& each : ClaimAbandoned(base, pool))
    folders.push_back(PathFromDirent(each.folder));
  return folders;
}

}  // namespace kelvarion::svn
