#include "repos/new_repository.h"

#include <svn_error_codes.h>
#include <svn_io.h>

#include "access/authz_files.h"
#include "errors/exception.h"
#include "repos/names.h"
#include "repos/repository_store.h"
#include "repos/root_entries.h"
#include "svn/atomic_file.h"
#include "svn/error.h"
#include "svn/text.h"

namespace kelvarion::repos {
namespace {

svn_node_kind_t KindOf(const std::string& dirent, const svn::Pool& pool) {
  svn_node_kind_t kind = svn_node_none;
  svn::Check(svn_io_check_path(dirent.c_str(), &kind, pool));
  return kind;
}

bool IsEmptyFolder(const std::string& dirent, const svn::Pool& pool) {
  svn_boolean_t empty = FALSE;
  svn::Check(svn_io_dir_empty(&empty, dirent.c_str(), pool));
  return empty != FALSE;
}

}  // namespace

NewRepository::NewRepository(const ServerContext& context, std::u16string name, Prepared prepared)
    : context_(context),
      name_((ValidateRepositoryName(name), std::move(name))),
      prepared_(prepared),
      pool_(context.root_pool()),
      work_((RefuseTakenName(), context)) {}

void NewRepository::RefuseTakenName() const {
  const auto taken = FindEntry(access::RepositoriesRoot(context_), name_, pool_);
  if (!taken) return;
  const std::u16string path = GetRepositoryPath(context_, name_);
  const std::string dirent = svn::DirentFromPath(path);
  if (*taken != name_ || KindOf(dirent, pool_) != svn_node_dir) {
    throw SimpleException(u"Repository with the name '%s' already exists.", *taken);
  }
  if (prepared_ == Prepared::kRefuse) {
    svn::ThrowAprError(APR_EEXIST, Format(u"Can't create directory '%s'", path));
  }
  if (!IsEmptyFolder(dirent, pool_)) {
    svn::ThrowError(SVN_ERR_DIR_NOT_EMPTY, Format(u"'%s' exists and is non-empty", path));
  }
}

void NewRepository::WriteMissingRules() const {
  const std::string conf = svn::JoinDirent(folder(), "conf");
  for (const char* name : {"Kelvarion-SvnAuthz.ini", "Kelvarion-WinAuthz.ini"}) {
    const std::string file = svn::JoinDirent(conf, name);
    if (KindOf(file, pool_) != svn_node_none) continue;
    svn::ReplaceFile(svn::PathFromDirent(file), access::kAuthorizationHeader,
                     platform::NewFile::kAsFolderSays, pool_);
  }
}

void NewRepository::Publish() const {
  const NamesLock names(context_);
  RefuseTakenName();
  const std::string target = svn::DirentFromPath(GetRepositoryPath(context_, name_));
  svn::Check(svn_io_file_rename2(folder().c_str(), target.c_str(), TRUE, pool_));
}

}  // namespace kelvarion::repos
