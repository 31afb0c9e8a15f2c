// The methods of Kelvarion_Repository that concern access.
#include "access/permission_model.h"
#include "access/repository_settings.h"
#include "handlers/convert/trimmed.h"
#include "handlers/convert/undefined_groups.h"
#include "handlers/repository_class_handler.h"

namespace kelvarion {
namespace {

constexpr Property<std::u16string> kName{u"Name"};
constexpr Property<std::u16string> kPath{u"Path"};
constexpr Property<std::vector<WMIObject>> kPermissions{u"Permissions"};
constexpr Property<bool> kResetChildren{u"ResetChildren"};

constexpr Property<bool> kEnabled{u"Enabled"};
constexpr Property<std::vector<WMIObject>> kManagers{u"Managers"};
constexpr Property<std::vector<WMIObject>> kReplicators{u"Replicators"};

// The repository that a call about access names by its key.
std::u16string Repository(MethodCall& call, const ServerContext& context) {
  return repos::RequireRepository(context, Trimmed(call.key(kName)));
}

// The same for the methods that only a replication master has.
std::u16string Master(MethodCall& call, const ServerContext& context) {
  const std::u16string name = Repository(call, context);
  if (repos::ReadRepository(context, name).type != RepositoryType::OrmuMaster) {
    throw WMIException(WBEM_E_NOT_SUPPORTED,
                       u"Repository '%s' is not a master: it has no replication settings", name);
  }
  return name;
}

// The place in a repository that a call about access names by its key and its path.
access::RepositoryPath Where(MethodCall& call, const ServerContext& context) {
  const std::u16string name = Trimmed(call.key(kName));
  const std::u16string path = Trimmed(call.in(kPath));
  return {repos::RequireRepository(context, name), path};
}

access::ResetChildren ResetIn(MethodCall& call) {
  return call.in(kResetChildren) ? access::ResetChildren::kYes : access::ResetChildren::kNo;
}

}  // namespace

void RepositoryClassHandler::GetSecurity(MethodCall& call) {
  const access::PermissionList rules =
      access::GetPathPermissions(context(), Where(call, context()));
  call.out().Set(kPermissions, accounts_.ToObjects(rules));
}

void RepositoryClassHandler::SetSecurity(MethodCall& call) {
  const access::RepositoryPath where = Where(call, context());
  const access::PermissionList rules = accounts_.ToEntries(call.in_params(), kPermissions);
  access::SetPathPermissions(context(), where, rules, ResetIn(call));
  std::vector<access::Account> accounts;
  for (const access::PermissionEntry& rule : rules) accounts.push_back(rule.account);
  WarnOfUndefinedGroups(context(), NamedIn::kRules, accounts, call.sink());
}

void RepositoryClassHandler::GetGlobalSecurity(MethodCall& call) {
  call.out().Set(kPermissions, accounts_.ToObjects(access::GetGlobalPermissions(context())));
}

void RepositoryClassHandler::SetGlobalSecurity(MethodCall& call) {
  access::SetGlobalPermissions(context(), accounts_.ToEntries(call.in_params(), kPermissions));
}

void RepositoryClassHandler::GetDelegationSettings(MethodCall& call) {
  const auto settings = access::ReadDelegation(context(), Repository(call, context()));
  call.out().Set(kEnabled, settings.enabled);
  call.out().Set(kManagers, accounts_.ToWindowsAccounts(settings.accounts));
}

void RepositoryClassHandler::SetDelegationSettings(MethodCall& call) {
  const std::u16string repository = Repository(call, context());
  access::WriteDelegation(context(), repository,
                          {call.in(kEnabled), accounts_.ToSids(call.in_params(), kManagers)});
}

void RepositoryClassHandler::GetReplicationSettings(MethodCall& call) {
  const auto settings = access::ReadReplication(context(), Master(call, context()));
  call.out().Set(kEnabled, settings.enabled);
  call.out().Set(kReplicators, accounts_.ToWindowsAccounts(settings.accounts));
}

void RepositoryClassHandler::SetReplicationSettings(MethodCall& call) {
  const std::u16string repository = Master(call, context());
  access::WriteReplication(context(), repository,
                           {call.in(kEnabled), accounts_.ToSids(call.in_params(), kReplicators)});
}

}  // namespace kelvarion
