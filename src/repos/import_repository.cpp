#include "errors/exception.h"
#include "repos/copy.h"
#include "repos/import.h"
#include "repos/long_operation.h"
#include "repos/new_repository.h"
#include "repos/replication.h"
#include "repos/replication_location.h"
#include "repos/repository_store.h"
#include "svn/repository.h"

namespace kelvarion::repos {
namespace {

svn::StoreInfo InfoOf(const ServerContext& context, const std::u16string& source) {
  RequireAbsolutePath(source);
  const svn::Pool pool(context.root_pool());
  return svn::ReadStoreInfo(svn::OpenRepository(source, pool), pool);
}

}  // namespace

void ImportRepository(const ServerContext& context, const std::u16string& name,
                      const std::u16string& source, IcImportRepositoryNotify* notify,
                      const IcCancelCallback* cancel, const services::Warn& warn) {
  const svn::StoreInfo info = InfoOf(context, source);
  const RepositoryType type = svn::TypeOf(info);
  const bool slave = type == RepositoryType::OrmuSlave;
  if (slave) TestOrmuConnection(context, {info.master_server, info.master_repository});
  NewRepository repository(context, name, Prepared::kRefuse);
  LongOperation operation(cancel, kImportCancelled);
  CopyRepository(source, repository.folder(), notify, operation, repository.pool());
  repository.WriteMissingRules(slave ? Rules::kSubversionOnly : Rules::kBoth);
  operation.Check();
  repository.Publish();
  if (type == RepositoryType::OrmuMaster) UpdateReplicationLocation(context, warn);
  if (!slave) return;
  try {
    AttachSlave(context, name);
  } catch (const Exception&) {
    repository.Withdraw();
    throw;
  }
}

}  // namespace kelvarion::repos
