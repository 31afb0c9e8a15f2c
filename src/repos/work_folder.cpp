#include "repos/work_folder.h"

#include <svn_io.h>
#include <svn_types.h>

#include <vector>

#include "access/authz_files.h"
#include "errors/exception.h"
#include "repos/root_entries.h"
#include "svn/error.h"
#include "svn/repository.h"
#include "svn/text.h"

namespace kelvarion::repos {
namespace {

constexpr apr_fileperms_t kPrivate = APR_FPROT_UREAD | APR_FPROT_UWRITE | APR_FPROT_UEXECUTE;

std::string RepositoryIn(const std::string& folder) {
  return svn::JoinDirent(folder, "repository");
}

// Takes the lock of a folder as long as the pool lives. Throws SvnException when another has it.
void LockFolder(const std::string& folder, const svn::Pool& pool) {
  apr_file_t* file = nullptr;
  const std::string path = svn::JoinDirent(folder, "lock");
  svn::Check(svn_io_file_open(&file, path.c_str(), APR_READ | APR_WRITE | APR_CREATE,
                              APR_OS_DEFAULT, pool));
  svn::Check(svn_io_lock_open_file(file, TRUE, TRUE, pool));
}

void RemoveTree(const std::string& folder, const svn::Pool& pool) {
  svn::Check(svn_io_remove_dir2(folder.c_str(), TRUE, nullptr, nullptr, pool));
}

// The lock file goes last: while it is there, nobody else takes the folder for abandoned.
void RemoveFolder(const ServerContext& context, const std::string& folder,
                  const svn::Pool& pool) noexcept {
  try {
    RemoveTree(RepositoryIn(folder), pool);
    RemoveTree(folder, pool);
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

void MakeBase(const std::string& base, const svn::Pool& pool) {
  try {
    svn::Check(svn_io_dir_make(base.c_str(), kPrivate, pool));
  } catch (const SvnException& exception) {
    if (!APR_STATUS_IS_EEXIST(exception.code())) throw;
  }
}

}  // namespace

WorkFolder::WorkFolder(const ServerContext& context)
    : context_(context),
      pool_(context.root_pool()),
      base_(svn::JoinDirent(svn::DirentFromPath(access::RepositoriesRoot(context)),
                            svn::Utf8(kWorkFolderName))),
      folder_(svn::JoinDirent(base_, svn_uuid_generate(pool_))),
      repository_(RepositoryIn(folder_)) {
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

void WorkFolder::RemoveRepository() { RemoveTree(repository_, pool_); }

}  // namespace kelvarion::repos
