#include "repos/create.h"

#include <svn_error_codes.h>
#include <svn_io.h>

#include "access/authz_files.h"
#include "errors/exception.h"
#include "repos/names.h"
#include "repos/repository_store.h"
#include "repos/root_entries.h"
#include "repos/work_folder.h"
#include "svn/atomic_file.h"
#include "svn/error.h"
#include "svn/repository.h"
#include "svn/text.h"

namespace kelvarion::repos {
namespace {

// An empty folder of exactly the name may become the repository; somebody may have prepared it.
void RefuseTakenName(const ServerContext& context, const std::u16string& name,
                     const svn::Pool& pool) {
  const auto taken = FindEntry(access::RepositoriesRoot(context), name, pool);
  if (!taken) return;
  const std::u16string path = GetRepositoryPath(context, name);
  const std::string dirent = svn::DirentFromPath(path);
  svn_node_kind_t kind = svn_node_none;
  svn::Check(svn_io_check_path(dirent.c_str(), &kind, pool));
  if (*taken != name || kind != svn_node_dir) {
    throw SimpleException(u"Repository with the name '%s' already exists.", *taken);
  }
  svn_boolean_t empty = FALSE;
  svn::Check(svn_io_dir_empty(&empty, dirent.c_str(), pool));
  if (!empty) {
    svn::ThrowError(SVN_ERR_DIR_NOT_EMPTY, Format(u"'%s' exists and is non-empty", path));
  }
}

void WriteEmptyRules(const std::string& repository, const svn::Pool& pool) {
  const std::string conf = svn::JoinDirent(repository, "conf");
  for (const char* file : {"Kelvarion-WinAuthz.ini", "Kelvarion-SvnAuthz.ini"}) {
    svn::ReplaceFile(svn::PathFromDirent(svn::JoinDirent(conf, file)), access::kAuthorizationHeader,
                     platform::NewFile::kAsFolderSays, pool);
  }
}

}  // namespace

void CreateRepository(const ServerContext& context, const std::u16string& name) {
  ValidateRepositoryName(name);
  const svn::Pool pool(context.root_pool());
  RefuseTakenName(context, name, pool);

  const WorkFolder work(context);
  svn::CreateRepository(svn::PathFromDirent(work.repository()), pool);
  WriteEmptyRules(work.repository(), pool);

  const NamesLock names(context);
  RefuseTakenName(context, name, pool);
  const std::string target = svn::DirentFromPath(GetRepositoryPath(context, name));
  svn::Check(svn_io_file_rename2(work.repository().c_str(), target.c_str(), TRUE, pool));
}

}  // namespace kelvarion::repos
