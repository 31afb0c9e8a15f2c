#include <svn_fs.h>
#include <svn_repos.h>

#include "errors/exception.h"
#include "repos/copy.h"
#include "repos/import.h"
#include "repos/long_operation.h"
#include "repos/new_repository.h"
#include "repos/repository_store.h"
#include "svn/repository.h"

namespace kelvarion::repos {
namespace {

void RefuseSlave(const ServerContext& context, const std::u16string& source) {
  if (GetRepositoryType(context, source) == RepositoryType::OrmuSlave) {
    throw SimpleException(
        u"The repository '%s' is a slave; this server cannot import slaves: import its master.",
        source);
  }
}

}  // namespace

void ImportRepository(const ServerContext& context, const std::u16string& name,
                      const std::u16string& source, IcImportRepositoryNotify* notify,
                      const IcCancelCallback* cancel) {
  RefuseSlave(context, source);
  NewRepository repository(context, name, Prepared::kRefuse);
  LongOperation operation(cancel, kImportCancelled);
  CopyRepository(source, repository.folder(), notify, operation, repository.pool());
  repository.WriteMissingRules();
  operation.Check();
  repository.Publish();
}

}  // namespace kelvarion::repos
