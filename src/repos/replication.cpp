#include "repos/replication.h"

#include <algorithm>
#include <initializer_list>

#include "errors/exception.h"
#include "repos/names.h"
#include "repos/repository_store.h"
#include "services/ormu_service.h"
#include "services/server_service.h"
#include "util/paths.h"

namespace kelvarion::repos {
namespace {

[[noreturn]] void NeedEngine() {
  throw SimpleException(
      u"This server has no replication engine: replicated repositories cannot be made, followed or "
      u"converted.");
}

bool IsOneOf(const ServerContext& context, const std::u16string& name,
             std::initializer_list<RepositoryType> types) {
  const RepositoryType type = GetRepositoryType(context, GetRepositoryPath(context, name));
  return std::find(types.begin(), types.end(), type) != types.end();
}

void RequireSlave(const ServerContext& context, const std::u16string& name) {
  if (IsOneOf(context, name, {RepositoryType::OrmuSlave})) return;
  throw SimpleException(u"This operation is supported only for slave ORMU repositories.");
}

bool ServicesAreStopped(const ServerContext& context) {
  const platform::ServiceManager& manager = *context.machine().services;
  return services::QueryServerStatus(manager).current_state == platform::SERVICE_STOPPED &&
         services::QueryOrmuStatus(manager).current_state == platform::SERVICE_STOPPED;
}

ConversionResult Convert(const ServerContext& context, const std::u16string& name) {
  const platform::VolumeInfo volume = util::GetVolumeInfo(GetRepositoryPath(context, name));
  if (!(volume.flags & platform::FILE_SUPPORTS_TRANSACTIONS))
    return ConversionResult::kVolumeWithoutTransactions;
  if (!ServicesAreStopped(context)) return ConversionResult::kServicesNotStopped;
  NeedEngine();
}

}  // namespace

void CreateOrmuMaster(const ServerContext&, const std::u16string& name) {
  ValidateRepositoryName(name);
  NeedEngine();
}

void CreateOrmuSlave(const ServerContext&, const std::u16string& name, const MasterAddress&) {
  ValidateRepositoryName(name);
  NeedEngine();
}

void ImportOrmuMaster(const ServerContext& context, const std::u16string& name,
                      const MasterImport& import, const IcCancelCallback*) {
  ValidateRepositoryName(name);
  GetRepositoryType(context, import.source);
  NeedEngine();
}

std::uint32_t TestOrmuConnection(const ServerContext&, const MasterAddress&) { NeedEngine(); }

void PromoteSlave(const ServerContext& context, const std::u16string& name) {
  RequireSlave(context, name);
  NeedEngine();
}

void DowngradeMaster(const ServerContext& context, const std::u16string& name,
                     const MasterAddress& master) {
  if (!IsOneOf(context, name, {RepositoryType::OrmuMaster}))
    throw SimpleException(u"This operation is supported only for master ORMU repositories.");
  TestOrmuConnection(context, master);
}

void RelocateSlave(const ServerContext&, const std::u16string&, const MasterAddress&) {
  NeedEngine();
}

void SyncSlave(const ServerContext& context, const std::u16string& name) {
  RequireSlave(context, name);
  NeedEngine();
}

void SetSuspended(const ServerContext& context, const std::u16string& name, bool) {
  if (!IsOneOf(context, name, {RepositoryType::OrmuMaster, RepositoryType::OrmuSlave}))
    throw SimpleException(u"This operation is supported only for ORMU repositories.");
  NeedEngine();
}

void CheckConsistency(const ServerContext&, const std::u16string&) { NeedEngine(); }

void ExportReplicationSeed(const ServerContext&, const std::u16string&, const std::u16string&,
                           const IcCancelCallback*) {
  NeedEngine();
}

ConversionResult ConvertToOrmu(const ServerContext& context, const std::u16string& name) {
  return Convert(context, name);
}

ConversionResult ConvertToFsfs(const ServerContext& context, const std::u16string& name) {
  return Convert(context, name);
}

}  // namespace kelvarion::repos
