#include "repos/new_repository.h"

#include <svn_error_codes.h>
#include <svn_io.h>

#include "access/authz_files.h"
#include "errors/exception.h"
#include "repos/names.h"
#include "repos/repository_store.h"
#include "repos/root_entries.h"
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

void RequireFreeName(const ServerContext& context, const std::u16string& name, Prepared prepared) {
  ValidateRepositoryName(name);
  const svn::Pool pool(context.root_pool());
  const auto taken = FindEntry(access::RepositoriesRoot(context), name, pool);
  if (!taken) return;
  const std::u16string path = GetRepositoryPath(context, name);
  const std::string dirent = svn::DirentFromPath(path);
  if (*taken != name || KindOf(dirent, pool) != svn_node_dir) {
    throw SimpleException(u"Repository with the name '%s' already exists.", *taken);
  }
  if (prepared == Prepared::kRefuse) {
    svn::ThrowAprError(APR_EEXIST, Format(u"Can't create directory '%s'", path));
  }
  if (!IsEmptyFolder(dirent, pool)) {
    svn::ThrowError(SVN_ERR_DIR_NOT_EMPTY, Format(u"'%s' exists and is non-empty", path));
  }
}

NewRepository::NewRepository(const ServerContext& context, std::u16string name, Prepared prepared)
    : context_(context),
      name_((RequireFreeName(context, name, prepared), std::move(name))),
      prepared_(prepared),
      pool_(context.root_pool()),
      work_(MakeWorkFolder(context)) {}

void NewRepository::Publish() const {
  const NamesLock names(context_);
  RequireFreeName(context_, name_, prepared_);
  const std::string target = svn::DirentFromPath(GetRepositoryPath(context_, name_));
  svn::Check(svn_io_file_rename2(folder().c_str(), target.c_str(), TRUE, pool_));
}

void NewRepository::Withdraw() const {
  const NamesLock names(context_);
  const std::string published = svn::DirentFromPath(GetRepositoryPath(context_, name_));
  svn::Check(svn_io_file_rename2(published.c_str(), folder().c_str(), FALSE, pool_));
}

}  // namespace kelvarion::repos
