// Key: Name, found ignoring case. An instance of a folder that is no repository has the properties
// that need none; the others are null.

#include "handlers/repository_class_handler.h"

#include <algorithm>

#include "access/permission_model.h"
#include "handlers/convert/undefined_groups.h"
#include "platform/text/compare.h"
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
constexpr Property<std::vector<WMIObject>> kPermissions{u"Permissions"};
constexpr Property<bool> kResetChildren{u"ResetChildren"};

// Clients of the methods that concern access and replication may pad names and paths.
std::u16string Trimmed(const std::u16string& text) {
  const auto first = std::ranges::find_if_not(text, platform::IsWhiteSpace);
  const auto last = std::find_if_not(text.rbegin(), text.rend(), platform::IsWhiteSpace).base();
  if (first >= last) throw WMIException(WBEM_E_INVALID_OBJECT_PATH);
  return {first, last};
}

// The place in a repository that a call about access names by its key and its path.
access::RepositoryPath Where(MethodCall& call, const ServerContext& context) {
  const std::u16string name = Trimmed(call.key(kName));
  const std::u16string path = Trimmed(call.in(kPath));
  return {repos::RequireRepository(context, name), path};
}

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
  for (const repos::RepositoryRecord& record : repos::ListRepositories(context()))
    sink.Indicate(Describe(record));
  return S_OK;
}

void RepositoryClassHandler::Create(MethodCall& call) {
  repos::CreateRepository(context(), call.in(kName));
}

void RepositoryClassHandler::Rename(MethodCall& call) {
  repos::RenameRepository(context(), call.in(kOldName), call.in(kNewName));
}

void RepositoryClassHandler::Delete(MethodCall& call) {
  repos::DeleteRepository(context(), call.in(kName));
}

void RepositoryClassHandler::GetSecurity(MethodCall& call) {
  const access::PermissionList rules =
      access::GetPathPermissions(context(), Where(call, context()));
  call.out().Set(kPermissions, accounts_.ToObjects(rules));
}

void RepositoryClassHandler::SetSecurity(MethodCall& call) {
  const access::RepositoryPath where = Where(call, context());
  const access::PermissionList rules = accounts_.ToEntries(call.in(kPermissions));
  const bool reset = call.in(kResetChildren);
  access::SetPathPermissions(context(), where, rules,
                             reset ? access::ResetChildren::kYes : access::ResetChildren::kNo);
  std::vector<access::Account> accounts;
  for (const access::PermissionEntry& rule : rules) accounts.push_back(rule.account);
  WarnOfUndefinedGroups(context(), NamedIn::kRules, accounts, call.sink());
}

const MethodTable<RepositoryClassHandler>& RepositoryClassHandler::Methods() {
  static const MethodTable<RepositoryClassHandler> table{
      {u"Create", &RepositoryClassHandler::Create},
      {u"Rename", &RepositoryClassHandler::Rename},
      {u"Delete", &RepositoryClassHandler::Delete},
      {u"GetSecurity", &RepositoryClassHandler::GetSecurity},
      {u"SetSecurity", &RepositoryClassHandler::SetSecurity},
  };
  return table;
}

}  // namespace kelvarion
