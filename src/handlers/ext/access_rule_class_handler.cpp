// Keys: Repository, found ignoring case, Path and Account.

#include "handlers/ext/access_rule_class_handler.h"

#include <algorithm>

#include "handlers/convert/rule_scope.h"
#include "handlers/convert/undefined_groups.h"
#include "repos/repository_store.h"
#include "util/repository_path.h"
#include "wmi/context.h"

namespace kelvarion {
namespace {

using Text = Property<std::u16string>;

constexpr Text kRepository{u"Repository"};
constexpr Text kPath{u"Path"};
constexpr Text kAccount{u"Account"};
constexpr Text kAccountName{u"AccountName"};
constexpr Property<std::uint32_t> kAccess{u"Access"};
constexpr Property<bool> kGlobal{u"Global"};
constexpr Property<bool> kForce{u"Force"};
constexpr Property<WMIObject> kRule{u"Rule"};
constexpr Property<std::vector<WMIObject>> kRules{u"Rules"};

// "'alice' at /trunk of the repository 'demo'", "'S-1-5-18' in all repositories"
std::u16string AccountAt(const access::AccessRule& rule) {
  const std::u16string account = access::AccountText(rule.account);
  if (!rule.scope) return Format(u"'%s' in all repositories", account);
  return Format(u"'%s' at %s of the repository '%s'", account, rule.scope->path,
                rule.scope->repository);
}

}  // namespace

access::AccountNames AccessRuleClassHandler::Names() const {
  return access::AccountNames(*context().machine().security);
}

WMIObject AccessRuleClassHandler::Describe(const access::AccessRule& rule,
                                           access::AccountNames& names) const {
  const std::u16string account = access::AccountText(rule.account);
  const bool windows = rule.account.kind == access::AccountKind::WindowsAccount;
  WMIObject object = SpawnInstance();
  object.Set(kRepository, RepositoryOf(rule.scope));
  object.Set(kPath, PathOf(rule.scope));
  object.Set(kAccount, account);
  object.Set(kAccountName, windows ? names.Of(account) : account);
  object.Set(kAccess, static_cast<std::uint32_t>(rule.access));
  object.Set(kGlobal, !rule.scope);
  return object;
}

HRESULT AccessRuleClassHandler::GetObject(ParsedObjectPath& path, CallContext*, WMIObject& out) {
  const auto [repository, place, account] = path.Keys(kRepository, kPath, kAccount);
  const access::RuleScope scope = ToScope(context(), repository, place);
  const access::PermissionList rules = scope ? access::GetPathPermissions(context(), *scope)
                                             : access::GetGlobalPermissions(context());
  const auto found = std::ranges::find_if(rules, [&wanted = account](const auto& rule) {
    return access::AccountText(rule.account) == wanted;
  });
  if (found == rules.end()) throw WMIException(WBEM_E_NOT_FOUND);
  access::AccountNames names = Names();
  out = Describe({scope, found->account, found->access}, names);
  return S_OK;
}

HRESULT AccessRuleClassHandler::EnumerateInstances(CallContext* call_context, ResponseSink& sink) {
  access::AccountNames names = Names();
  const auto indicate = [&](const access::AccessRule& rule) {
    sink.IndicateNext(Describe(rule, names));
  };
  const auto name = ContextText(call_context, u"QueryOption_RepositoryName");
  if (!name)
    ForEachExplicitRule(context(), indicate);
  else if (name == kAllRepositories)
    std::ranges::for_each(access::GlobalRules(context()), indicate);
  else
    std::ranges::for_each(
        access::RepositoryRules(context(), repos::RequireRepository(context(), *name)), indicate);
  return S_OK;
}

void AccessRuleClassHandler::Add(MethodCall& call) {
  const std::uint32_t access = call.in(kAccess);
  if (access > static_cast<std::uint32_t>(access::AccessLevel::ReadWrite))
    throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS,
                       u"The access %u is none of 0 (none), 1 (read) and 2 (read and write)",
                       access);
  const access::AccessRule rule{ToScope(context(), call.in(kRepository), call.in(kPath)),
                                access::AccountFromText(context(), call.in(kAccount)),
                                static_cast<access::AccessLevel>(access)};
  const auto overwrite =
      call.optional_in(kForce).value_or(false) ? access::Overwrite::kYes : access::Overwrite::kNo;
  if (!access::AddPermission(context(), rule.scope, rule.account, rule.access, overwrite))
    throw WMIException(WBEM_E_ALREADY_EXISTS, u"There is a rule for %s already", AccountAt(rule));
  access::AccountNames names = Names();
  call.out().Set(kRule, Describe(rule, names));
  WarnOfUndefinedGroups(context(), NamedIn::kRules, {rule.account}, call.sink());
}

void AccessRuleClassHandler::Remove(MethodCall& call) {
  const access::AccessRule rule{ToScope(context(), call.in(kRepository), call.in(kPath)),
                                access::AccountFromText(context(), call.in(kAccount))};
  if (!access::RemovePermission(context(), rule.scope, rule.account))
    call.sink().WriteWarning(Format(u"There was no rule for %s.", AccountAt(rule)));
}

void AccessRuleClassHandler::Select(MethodCall& call) {
  const std::u16string path = call.in(kPath);
  if (!util::IsCanonicalRepositoryPath(path))
    throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS, u"The path '%s' is not canonical", path);
  access::AccountNames names = Names();
  std::vector<WMIObject> rules;
  for (const access::AccessRule& rule :
       access::RulesInForce(context(), ToScope(context(), call.in(kRepository), path)))
    rules.push_back(Describe(rule, names));
  call.out().Set(kRules, rules);
}

const MethodTable<AccessRuleClassHandler>& AccessRuleClassHandler::Methods() {
  static const MethodTable<AccessRuleClassHandler> table{
      {u"Add", &AccessRuleClassHandler::Add},
      {u"Remove", &AccessRuleClassHandler::Remove},
      {u"Select", &AccessRuleClassHandler::Select},
  };
  return table;
}

}  // namespace kelvarion
