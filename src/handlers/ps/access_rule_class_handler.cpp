// Keys: Repository, Path, AccountName, AccountId; which rule is meant follows from all but the
// name.

#include "handlers/ps/access_rule_class_handler.h"

#include <algorithm>

#include "access/sid.h"
#include "handlers/convert/rule_scope.h"
#include "handlers/ps/cmdlet.h"
#include "repos/repository_store.h"
#include "util/repository_path.h"

namespace kelvarion {
namespace {

using access::AccessLevel;
using access::Account;
using access::Overwrite;
using Text = Property<std::u16string>;

constexpr Text kRepository{u"Repository"};
constexpr Text kPath{u"Path"};
constexpr Text kAccountName{u"AccountName"};
constexpr Text kAccountId{u"AccountId"};
constexpr Property<std::uint32_t> kAccess{u"Access"};
constexpr Property<bool> kGlobal{u"Global"};
constexpr Property<WMIObject> kRule{u"Rule"};

AccessLevel ToAccessLevel(std::uint32_t access) {
  if (access > static_cast<std::uint32_t>(AccessLevel::ReadWrite))
    throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS,
                       u"The access %u is none of 0 (none), 1 (read) and 2 (read and write)",
                       access);
  return static_cast<AccessLevel>(access);
}

Overwrite OverwriteIf(bool force) { return force ? Overwrite::kYes : Overwrite::kNo; }

}  // namespace

void PS_AccessRuleClassHandler::RequireWindowsAuthentication() const {
  if (!context().configuration().GetUseWindowsAuth())
    throw WMIException(WBEM_E_NOT_SUPPORTED,
                       u"This operation is only supported when Kelvarion Server is configured to "
                       u"use Windows authentication");
}

WMIObject PS_AccessRuleClassHandler::Describe(const access::AccessRule& rule,
                                              access::AccountNames& names) const {
  WMIObject object = SpawnInstance();
  object.Set(kRepository, RepositoryOf(rule.scope));
  object.Set(kPath, PathOf(rule.scope));
  object.Set(kAccountName, names.Of(rule.account.name));
  object.Set(kAccountId, rule.account.name);
  object.Set(kAccess, static_cast<std::uint32_t>(rule.access));
  object.Set(kGlobal, !rule.scope);
  return object;
}

HRESULT PS_AccessRuleClassHandler::PsGetObject(ParsedObjectPath& path, CallContext*,
                                               WMIObject& out) {
  RequireWindowsAuthentication();
  const auto [repository, place, name, id] =
      path.Keys(kRepository, kPath, kAccountName, kAccountId);
  const access::RuleScope scope = ToScope(context(), repository, place);
  const access::PermissionList rules = scope ? access::GetPathPermissions(context(), *scope)
                                             : access::GetGlobalPermissions(context());
  const std::u16string sid = access::CanonicalSid(*context().machine().security, id);
  const auto found =
      std::ranges::find(rules, Account::Windows(sid), &access::PermissionEntry::account);
  if (found == rules.end()) throw WMIException(WBEM_E_NOT_FOUND);
  access::AccountNames names(*context().machine().security);
  out = Describe({scope, found->account, found->access}, names);
  return S_OK;
}

HRESULT PS_AccessRuleClassHandler::PsEnumerateInstances(CallContext*, ResponseSink& sink) {
  RequireWindowsAuthentication();
  access::AccountNames names(*context().machine().security);
  ForEachExplicitRule(
      context(), [&](const access::AccessRule& rule) { sink.IndicateNext(Describe(rule, names)); });
  return S_OK;
}

HRESULT PS_AccessRuleClassHandler::PsExecMethod(ParsedObjectPath& path,
                                                const std::u16string& method, CallContext* context,
                                                const WMIObject& in_params, ResponseSink& sink,
                                                const IcCancelCallback* cancel) {
  RequireWindowsAuthentication();
  return PsMethodsClassHandler::PsExecMethod(path, method, context, in_params, sink, cancel);
}

std::u16string PS_AccessRuleClassHandler::ResolveAccount(
    const std::optional<std::u16string>& id, const std::optional<std::u16string>& name) const {
  if (id.has_value() == name.has_value())
    throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS,
                       u"Exactly one of AccountId and AccountName must be given");
  const platform::SecurityAuthority& authority = *context().machine().security;
  return id ? access::ParseSidString(authority, *id) : access::LookupAccountName(authority, *name);
}

WMIObject PS_AccessRuleClassHandler::Add(const NewRule& rule, Overwrite overwrite) const {
  access::AccountNames names(*context().machine().security);
  const std::u16string& account = names.Of(rule.sid);
  if (!util::IsCanonicalRepositoryPath(rule.path))
    throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS,
                       u"Cannot add access rule \"%s\", \"%s\", \"%s\" because it specifies a "
                       u"non-canonical path '%s'",
                       rule.repository, rule.path, account, rule.path);
  const access::AccessRule added{ToScope(context(), rule.repository, rule.path),
                                 Account::Windows(rule.sid), rule.access};
  if (!access::AddPermission(context(), added.scope, added.account, added.access, overwrite))
    throw WMIException(WBEM_E_ALREADY_EXISTS,
                       u"Cannot add access rule \"%s\", \"%s\", \"%s\" because it already exists "
                       u"(use -Force to overwrite)",
                       RepositoryOf(added.scope), rule.path, account);
  return Describe(added, names);
}

void PS_AccessRuleClassHandler::AddAt(MethodCall& call, const std::u16string& repository,
                                      const std::u16string& path) {
  const AccessLevel access = ToAccessLevel(call.in(kAccess));
  const std::u16string sid =
      ResolveAccount(call.optional_in(kAccountId), call.optional_in(kAccountName));
  cmdlet::Output(call, Add({repository, path, sid, access}, OverwriteIf(cmdlet::Force(call))));
}

void PS_AccessRuleClassHandler::AddByRepositoryName(MethodCall& call) {
  AddAt(call, cmdlet::RepositoryName(call), call.in(kPath));
}

void PS_AccessRuleClassHandler::AddByRepositoryObject(MethodCall& call) {
  AddAt(call, cmdlet::RepositoryObjectName(call), call.in(kPath));
}

void PS_AccessRuleClassHandler::AddByGlobal(MethodCall& call) {
  AddAt(call, kAllRepositories, u"/");
}

void PS_AccessRuleClassHandler::AddByRule(MethodCall& call) {
  const WMIObject given = call.in(kRule);
  const AccessLevel access = ToAccessLevel(given.Get(kAccess));
  const NewRule rule{given.Get(kRepository), given.Get(kPath),
                     ResolveAccount(given.GetOptional(kAccountId), std::nullopt), access};
  cmdlet::Output(call, Add(rule, OverwriteIf(cmdlet::Force(call))));
}

void PS_AccessRuleClassHandler::Remove(MethodCall& call) {
  const auto [repository, path, name, id] = call.keys(kRepository, kPath, kAccountName, kAccountId);
  const std::u16string sid = access::CanonicalSid(*context().machine().security, id);
  access::RemovePermission(context(), ToScope(context(), repository, path), Account::Windows(sid));
}

void PS_AccessRuleClassHandler::Set(MethodCall& call) {
  const auto [repository, path, name, id] = call.keys(kRepository, kPath, kAccountName, kAccountId);
  const AccessLevel access = ToAccessLevel(call.in(kAccess));
  const WMIObject rule =
      Add({repository, path, ResolveAccount(id, std::nullopt), access}, Overwrite::kYes);
  if (cmdlet::PassThru(call)) cmdlet::Output(call, rule);
}

void PS_AccessRuleClassHandler::Select(MethodCall& call, const std::u16string& repository) {
  const std::u16string path = call.in(kPath);
  if (!util::IsCanonicalRepositoryPath(path))
    throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS,
                       u"Cannot select access rules for a non-canonical path '%s'", path);
  if (path.find_first_of(u"*?[]") != path.npos)
    call.sink().WriteWarning(
        Format(u"This command doesn't support paths with wildcard characters. Interpreting path "
               u"'%s' literally.",
               path));
  access::AccountNames names(*context().machine().security);
  std::vector<WMIObject> rules;
  for (const auto& rule : access::RulesInForce(context(), ToScope(context(), repository, path)))
    rules.push_back(Describe(rule, names));
  cmdlet::Output(call, rules);
}

void PS_AccessRuleClassHandler::SelectByRepositoryName(MethodCall& call) {
  Select(call, cmdlet::RepositoryName(call));
}

void PS_AccessRuleClassHandler::SelectByRepositoryObject(MethodCall& call) {
  Select(call, cmdlet::RepositoryObjectName(call));
}

const MethodTable<PS_AccessRuleClassHandler>& PS_AccessRuleClassHandler::Methods() {
  using Handler = PS_AccessRuleClassHandler;
  static const MethodTable<Handler> table{
      {u"AddByRepositoryName", &Handler::AddByRepositoryName},
      {u"AddByRepositoryObject", &Handler::AddByRepositoryObject},
      {u"AddByGlobal", &Handler::AddByGlobal},
      {u"AddByRule", &Handler::AddByRule},
      {u"Remove", &Handler::Remove},
      {u"Set", &Handler::Set},
      {u"SelectByRepositoryName", &Handler::SelectByRepositoryName},
      {u"SelectByRepositoryObject", &Handler::SelectByRepositoryObject},
  };
  return table;
}

}  // namespace kelvarion
