#include "repos/delete.h"

#include <svn_io.h>

#include "repos/replication.h"
#include "repos/replication_location.h"
#include "repos/repository_store.h"
#include "repos/root_entries.h"
#include "svn/error.h"
#include "svn/text.h"

namespace kelvarion::repos {

void DeleteRepository(const ServerContext& context, const std::u16string& name,
                      const services::Warn& warn) {
  const std::u16string resolved = RequireRepository(context, name);
  const ReplicationRole role = RoleOf(context, resolved);
  if (role == ReplicationRole::kSlave) return DeleteSlave(context, resolved);
  const svn::Pool pool(context.root_pool());
  svn::WorkFolder work = MakeWorkFolder(context);
  {
    const NamesLock names(context);
    const std::u16string found = RequireRepository(context, name);
    const auto rules = LockRules(context, found);
    const std::string path = svn::DirentFromPath(GetRepositoryPath(context, found));
    svn::Check(svn_io_file_rename2(path.c_str(), work.repository().c_str(), FALSE, pool));
  }
  if (role == ReplicationRole::kMaster) UpdateReplicationLocation(context, warn);
  work.RemoveRepository();
}

}  // namespace kelvarion::repos
