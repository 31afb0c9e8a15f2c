// Key: Name, found ignoring case. An instance of a folder that is no repository has the properties
// that need none; the others are null.

#include "handlers/repository_class_handler.h"

#include "handlers/convert/gone_repository.h"
#include "repos/create.h"
#include "repos/delete.h"
#include "repos/rename.h"

namespace kelvarion {
namespace {

using Text = Property<std::u16string>;
using Number = Property<std::uint32_t>;

constexpr Text kName{u"Name"};
constexpr Text kPath{u"Path"};
constexpr Text kUrl{u"URL"};
constexpr Number kType{u"Type"};
constexpr Number kTotalRevisions{u"TotalRevisions"};
constexpr Property<bool> kInheritedOnlyPermissions{u"InheritedOnlyPermissions"};
constexpr Text kMasterServer{u"MasterServer"};
constexpr Text kMasterRepository{u"MasterRepository"};
constexpr Number kFormatNumber{u"FormatNumber"};
constexpr Text kUuid{u"UUID"};
constexpr Number kShardSize{u"ShardSize"};
constexpr Number kTotalShards{u"TotalShards"};
constexpr Number kPackedShards{u"PackedShards"};
constexpr Number kLogAddressing{u"LogAddressing"};
constexpr Number kSuspended{u"Suspended"};

constexpr Text kOldName{u"OldName"};
constexpr Text kNewName{u"NewName"};
}  // namespace

WMIObject RepositoryClassHandler::Describe(const repos::RepositoryRecord& record) const {
  WMIObject repository = SpawnInstance();
  repository.Set(kName, record.name);
  repository.Set(kPath, record.path);
  repository.Set(kUrl, record.url);
  if (record.type) repository.Set(kType, static_cast<std::uint32_t>(*record.type));
  repository.SetOptional(kTotalRevisions, record.total_revisions);
  repository.Set(kInheritedOnlyPermissions, record.inherited_only_permissions);
  repository.SetOptional(kMasterServer, record.master_server);
  repository.SetOptional(kMasterRepository, record.master_repository);
  repository.SetOptional(kFormatNumber, record.format_number);
  repository.SetOptional(kUuid, record.uuid);
  repository.SetOptional(kShardSize, record.shard_size);
  repository.SetOptional(kTotalShards, record.total_shards);
  repository.SetOptional(kPackedShards, record.packed_shards);
  repository.SetOptional(kLogAddressing, record.log_addressing);
  repository.SetOptional(kSuspended, record.suspended);
  return repository;
}

HRESULT RepositoryClassHandler::GetObject(ParsedObjectPath& path, CallContext*, WMIObject& out) {
  const auto name = repos::FindRepository(context(), path.Key(kName));
  if (!name) throw WMIException(WBEM_E_NOT_FOUND);
  out = Describe(repos::ReadRepository(context(), *name));
  return S_OK;
}

HRESULT RepositoryClassHandler::EnumerateInstances(CallContext*, ResponseSink& sink) {
  repos::VisitRepositories(context(), [&](const repos::RepositoryRecord& record) {
    sink.IndicateNext(Describe(record));
  });
  return S_OK;
}

HRESULT RepositoryClassHandler::ExecMethod(ParsedObjectPath& path, const std::u16string& method,
                                           CallContext* context, const WMIObject& in_params,
                                           ResponseSink& sink, const IcCancelCallback* cancel) {
  return NotFoundWhenGone(this->context(), path, [&] {
    return MethodsClassHandler::ExecMethod(path, method, context, in_params, sink, cancel);
  });
}

void RepositoryClassHandler::Create(MethodCall& call) {
  repos::CreateRepository(context(), call.in(kName));
}

void RepositoryClassHandler::Rename(MethodCall& call) {
  repos::RenameRepository(context(), call.in(kOldName), call.in(kNewName));
}

void RepositoryClassHandler::Delete(MethodCall& call) {
  repos::DeleteRepository(context(), call.in(kName), call.warn());
}

const MethodTable<RepositoryClassHandler>& RepositoryClassHandler::Methods() {
  using Self = RepositoryClassHandler;
  static const MethodTable<Self> table{
      {u"Create", &Self::Create},
      {u"CreateOrmuMaster", &Self::CreateOrmuMaster},
      {u"ImportOrmuMaster", &Self::ImportOrmuMaster},
      {u"ImportRepository", &Self::ImportRepository},
      {u"GetImportSourceType", &Self::GetImportSourceType},
      {u"CreateOrmuSlave", &Self::CreateOrmuSlave},
      {u"TestOrmuConnection", &Self::TestOrmuConnection},
      {u"Rename", &Self::Rename},
      {u"Delete", &Self::Delete},
      {u"GetChildren", &Self::GetChildren},
      {u"CreateFolders", &Self::CreateFolders},
      {u"DeleteFolders", &Self::DeleteFolders},
      {u"Upgrade", &Self::Upgrade},
      {u"HasCapability", &Self::HasCapability},
      {u"GetHook", &Self::GetHook},
      {u"SetHook", &Self::SetHook},
      {u"DeleteHook", &Self::DeleteHook},
      {u"GetSecurity", &Self::GetSecurity},
      {u"SetSecurity", &Self::SetSecurity},
      {u"GetGlobalSecurity", &Self::GetGlobalSecurity},
      {u"SetGlobalSecurity", &Self::SetGlobalSecurity},
      {u"GetDelegationSettings", &Self::GetDelegationSettings},
      {u"SetDelegationSettings", &Self::SetDelegationSettings},
      {u"GetReplicationSettings", &Self::GetReplicationSettings},
      {u"SetReplicationSettings", &Self::SetReplicationSettings},
      {u"ConvertToOrmu", &Self::ConvertToOrmu},
      {u"ConvertToFsfs", &Self::ConvertToFsfs},
      {u"PromoteToOrmuMaster", &Self::PromoteToOrmuMaster},
      {u"CheckReplicationConsistency", &Self::CheckReplicationConsistency},
      {u"GetSize", &Self::GetSize},
      {u"ExportReplicationSeed", &Self::ExportReplicationSeed},
      {u"ChangeMasterTo", &Self::ChangeMasterTo},
  };
  return table;
}

}  // namespace kelvarion
