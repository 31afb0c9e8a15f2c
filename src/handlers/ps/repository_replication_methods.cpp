// The methods of PS_SvnRepository that concern replication.
#include "access/repository_settings.h"
#include "access/sid.h"
#include "handlers/ps/cmdlet.h"
#include "handlers/ps/master_parameters.h"
#include "handlers/ps/repository_class_handler.h"

namespace kelvarion {
namespace {

using Texts = std::vector<std::u16string>;

constexpr Property<std::u16string> kName{u"Name"};
constexpr Property<bool> kEnabled{u"Enabled"};
constexpr Property<Texts> kReplicators{u"Replicators"};
constexpr Property<std::uint32_t> kTargetType{u"TargetType"};
constexpr Property<std::uint32_t> kRole{u"Role"};

constexpr const char16_t* kOnlyMasters =
    u"This operation is only supported for ORMU master repositories";
constexpr const char16_t* kOnlySlaves =
    u"This operation is only supported for ORMU slave repositories";

// Values of Role.
constexpr std::uint32_t kToMaster = 0;
constexpr std::uint32_t kToSlave = 1;

void RequireConverted(repos::ConversionResult result) {
  switch (result) {
    case repos::ConversionResult::kConverted:
      return;
    case repos::ConversionResult::kVolumeWithoutTransactions:
      throw SimpleException(
          u"Failed to perform in-place conversion to a different repository format because the "
          u"repository is stored on the disk that does not support Transactional NTFS.");
    case repos::ConversionResult::kServicesNotStopped:
      throw SimpleException(
          u"Failed to perform in-place conversion to a different repository format because "
          u"Kelvarion Server services are not stopped.");
  }
}

}  // namespace

void PS_RepositoryClassHandler::GetReplication(MethodCall& call) {
  const auto record = NamedOfType(call, RepositoryType::OrmuMaster, kOnlyMasters);
  const access::SharedWith settings = access::ReadReplication(context(), record.name);
  Texts names;
  for (const std::u16string& sid : settings.accounts)
    names.push_back(access::AccountDisplayName(*context().machine().security, sid));
  WMIObject result = replication_class_.SpawnInstance();
  result.Set(kName, record.name);
  result.Set(kEnabled, settings.enabled);
  result.Set(kReplicators, names);
  cmdlet::Output(call, result);
}

void PS_RepositoryClassHandler::SetReplication(MethodCall& call) {
  const auto record = NamedOfType(call, RepositoryType::OrmuMaster, kOnlyMasters);
  access::SharedWith settings = access::ReadReplication(context(), record.name);
  settings.enabled = call.optional_in(kEnabled).value_or(settings.enabled);
  if (const auto names = call.optional_in(kReplicators)) {
    settings.accounts.clear();
    for (const std::u16string& name : *names)
      settings.accounts.push_back(access::LookupAccountName(*context().machine().security, name));
  }
  access::WriteReplication(context(), record.name, settings);
}

void PS_RepositoryClassHandler::Convert(MethodCall& call) {
  const std::u16string name = Named(call);
  const std::uint32_t target = call.in(kTargetType);
  if (target == static_cast<std::uint32_t>(RepositoryType::OrmuSlave)) {
    throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS,
                       u"Unsupported value for 'TargetType' parameter");
  }
  if (target > static_cast<std::uint32_t>(RepositoryType::OrmuSlave))
    throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS);
  const bool to_fsfs = target == static_cast<std::uint32_t>(RepositoryType::Fsfs);
  RequireConverted(to_fsfs ? repos::ConvertToFsfs(context(), name, call.warn())
                           : repos::ConvertToOrmu(context(), name, call.warn()));
  OutputIfPassThru(call, name);
}

void PS_RepositoryClassHandler::Sync(MethodCall& call) {
  const std::u16string name = Named(call);
  call.sink().WriteProgress({});
  repos::SyncSlave(context(), name);
  OutputIfPassThru(call, name);
}

void PS_RepositoryClassHandler::Set(MethodCall& call) {
  const std::u16string name = Named(call);
  const auto server = call.optional_in(cmdlet::kMasterServer);
  const auto repository = call.optional_in(cmdlet::kMasterRepository);
  if (server || repository) {
    const auto record = NamedOfType(call, RepositoryType::OrmuSlave, kOnlySlaves);
    const repos::MasterAddress master{server.value_or(record.master_server.value_or(u"")),
                                      repository.value_or(record.master_repository.value_or(u""))};
    repos::TestOrmuConnection(context(), master);
    repos::RelocateSlave(context(), name, master);
  }
  OutputIfPassThru(call, name);
}

void PS_RepositoryClassHandler::Suspend(MethodCall& call) {
  const std::u16string name = Named(call);
  repos::SetSuspended(context(), name, true);
  OutputIfPassThru(call, name);
}

void PS_RepositoryClassHandler::Resume(MethodCall& call) {
  const std::u16string name = Named(call);
  repos::SetSuspended(context(), name, false);
  OutputIfPassThru(call, name);
}

void PS_RepositoryClassHandler::Switch(MethodCall& call) {
  const std::u16string name = Named(call);
  const std::uint32_t role = call.in(kRole);
  if (role == kToMaster) {
    cmdlet::RefuseMaster(
        call,
        u"Parameter 'MasterServer' cannot be specified when converting to OrmuMaster repository",
        u"Parameter 'MasterRepository' cannot be specified when converting to OrmuMaster "
        u"repository");
    repos::PromoteSlave(context(), name, call.warn());
  } else if (role == kToSlave) {
    repos::DowngradeMaster(context(), name, cmdlet::Master(call, name), call.warn());
  } else {
    throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS);
  }
  OutputIfPassThru(call, name);
}

}  // namespace kelvarion
