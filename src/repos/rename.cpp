#include "repos/rename.h"

#include <svn_io.h>

#include "access/authz_files.h"
#include "errors/exception.h"
#include "repos/names.h"
#include "repos/replication.h"
#include "repos/repository_store.h"
#include "repos/root_entries.h"
#include "svn/error.h"
#include "svn/text.h"

namespace kelvarion::repos {

void RenameRepository(const ServerContext& context, const std::u16string& old_name,
                      const std::u16string& new_name) {
  if (old_name == new_name) return;
  if (old_name.empty() || new_name.empty()) {
    throw SimpleException(u"Repository name cannot be empty.");
  }
  ValidateRepositoryName(new_name);
  RequireRepository(context, old_name);

  const svn::Pool pool(context.root_pool());
  const NamesLock names(context);
  const std::u16string found = RequireRepository(context, old_name);
  if (found == new_name) return;
  if (FindEntry(access::RepositoriesRoot(context), new_name, pool, found)) {
    throw SimpleException(u"Repository with the name '%s' already exists.", new_name);
  }
  const auto rules = LockRules(context, found);
  if (RoleOf(context, found) == ReplicationRole::kSlave)
    return RenameSlave(context, found, new_name);
  const std::string from = svn::DirentFromPath(GetRepositoryPath(context, found));
  const std::string to = svn::DirentFromPath(GetRepositoryPath(context, new_name));
  svn::Check(svn_io_file_rename2(from.c_str(), to.c_str(), TRUE, pool));
}

}  // namespace kelvarion::repos
