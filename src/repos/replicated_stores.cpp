// Repositories that replicate, made, filled and converted by the replication engine.
#include <apr_uri.h>
#include <svn_error.h>

#include "errors/exception.h"
#include "platform/ormu/ormu.h"
#include "repos/engine_errors.h"
#include "repos/long_operation.h"
#include "repos/master_name.h"
#include "repos/names.h"
#include "repos/new_repository.h"
#include "repos/replication.h"
#include "repos/replication_location.h"
#include "repos/repository_store.h"
#include "repos/root_entries.h"
#include "services/ormu_service.h"
#include "services/server_service.h"
#include "svn/error.h"
#include "svn/text.h"
#include "util/computer.h"
#include "util/paths.h"

namespace kelvarion::repos {
namespace {

// Undoes what the service did, and throws the failure with that of undoing it behind.
[[noreturn]] void DeleteSlaveAndThrow(const char* home, const std::string& name,
                                      const SvnException& failure, const svn::Pool& pool) {
  throw SvnException(svn_error_compose_create(
      svn_error_dup(failure.chain()), ormusvc_client_delete_slave(home, name.c_str(), pool)));
}

// "msrpc://this.computer/repository"
std::string MasterUri(const std::u16string& name, const svn::Pool& pool) {
  const std::string host = svn::Utf8(util::GetComputerDnsName());
  const std::string path = "/" + svn::Utf8(name);
  apr_uri_t uri{};
  uri.scheme = const_cast<char*>("msrpc");
  uri.hostname = const_cast<char*>(host.c_str());
  uri.path = const_cast<char*>(path.c_str());
  return apr_uri_unparse(pool, &uri, 0);
}

bool ServicesAreStopped(const ServerContext& context) {
  const platform::ServiceManager& manager = *context.machine().services;
  return services::QueryServerStatus(manager).current_state == platform::SERVICE_STOPPED &&
         services::QueryOrmuStatus(manager).current_state == platform::SERVICE_STOPPED;
}

using Conversion = svn_error_t* (*)(const char* path, apr_pool_t* pool);

ConversionResult Convert(const ServerContext& context, const std::u16string& name,
                         Conversion convert, const services::Warn& warn) {
  const std::u16string path = GetRepositoryPath(context, name);
  if (!(util::GetVolumeInfo(path).flags & platform::FILE_SUPPORTS_TRANSACTIONS))
    return ConversionResult::kVolumeWithoutTransactions;
  if (!ServicesAreStopped(context)) return ConversionResult::kServicesNotStopped;
  const svn::Pool pool(context.root_pool());
  const auto rules = LockRules(context, name);
  svn::Check(convert(svn::DirentFromPath(path).c_str(), pool));
  UpdateReplicationLocation(context, warn);
  return ConversionResult::kConverted;
}

}  // namespace

void CreateOrmuMaster(const ServerContext& context, const std::u16string& name,
                      const services::Warn& warn) {
  const NewRepository repository(context, name, Prepared::kMayBeEmptyFolder);
  svn::Check(ormu_create_master(repository.folder().c_str(), repository.pool()));
  repository.WriteMissingRules();
  WriteFirstReplicationSettings(repository.folder(), repository.pool());
  repository.Publish();
  UpdateReplicationLocation(context, warn);
}

void CreateOrmuSlave(const ServerContext& context, const std::u16string& name,
                     const MasterAddress& master) {
  RequireFreeName(context, name, Prepared::kRefuse);
  const svn::Pool pool(context.root_pool());
  const MasterName followed(master);
  const char* const home = context.machine().home.c_str();
  const std::string native = svn::Utf8(name);
  CheckRequest(ormusvc_client_create_slave(home, native.c_str(), followed.server(),
                                           followed.repository(), pool));
  try {
    const std::string folder = svn::DirentFromPath(GetRepositoryPath(context, name));
    WriteMissingRules(folder, Rules::kSubversionOnly, pool);
    WriteFirstReplicationSettings(folder, pool);
  } catch (const SvnException& failure) {
    DeleteSlaveAndThrow(home, native, failure, pool);
  }
}

void ImportOrmuMaster(const ServerContext& context, const std::u16string& name,
                      const MasterImport& import, const IcCancelCallback* cancel,
                      const services::Warn& warn) {
  RequireAbsolutePath(import.source);
  const NewRepository repository(context, name, Prepared::kRefuse);
  LongOperation operation(cancel, kMasterImportCancelled);
  operation.CheckAfter(ormu_import_master(
      repository.folder().c_str(), svn::DirentFromPath(import.source).c_str(), import.permissions,
      import.delegation, import.hooks, LongOperation::AskCancelled, &operation, repository.pool()));
  repository.WriteMissingRules();
  operation.Check();
  repository.Publish();
  UpdateReplicationLocation(context, warn);
}

void ExportReplicationSeed(const ServerContext& context, const std::u16string& name,
                           const std::u16string& destination, const IcCancelCallback* cancel) {
  RequireAbsolutePath(destination);
  const svn::Pool pool(context.root_pool());
  LongOperation operation(cancel, kSeedExportCancelled);
  operation.CheckAfter(
      ormu_spawn_slave(svn::DirentFromPath(destination).c_str(), MasterUri(name, pool).c_str(),
                       svn::DirentFromPath(GetRepositoryPath(context, name)).c_str(),
                       LongOperation::AskCancelled, &operation, pool));
}

ConversionResult ConvertToOrmu(const ServerContext& context, const std::u16string& name,
                               const services::Warn& warn) {
  return Convert(context, name, ormu_convert_to_ormu, warn);
}

ConversionResult ConvertToFsfs(const ServerContext& context, const std::u16string& name,
                               const services::Warn& warn) {
  return Convert(context, name, ormu_convert_to_fsfs, warn);
}

}  // namespace kelvarion::repos
