#include "access/access_rules.h"

#include <algorithm>
#include <unordered_set>

#include "access/authz_parser.h"
#include "access/sid.h"

namespace kelvarion::access {
namespace {

// Keeps the first rule met for each account.
class CEnumPermissionsCallback final : public IcEnumPermissionsCallback {
 public:
  void OnPermission(const std::u16string* repository, const std::u16string* path,
                    const Account& account, AccessLevel access) override {
    // Within one mode, rules files have a name of its own for each account.
    if (!met_.insert(KeyOf(account)).second) return;
    RuleScope scope;
    if (repository) scope = RepositoryPath{*repository, *path};
    rules.push_back({std::move(scope), account, access});
  }

  std::vector<AccessRule> rules;

 private:
  std::unordered_set<std::u16string> met_;
};

void Append(std::vector<AccessRule>& rules, const RuleScope& scope, const PermissionList& entries) {
  for (const PermissionEntry& entry : entries)
    rules.push_back({scope, entry.account, entry.access});
}

std::u16string Parent(const std::u16string& path) {
  return path.substr(0, std::max<std::size_t>(path.rfind(u'/'), 1));
}

// The walk of permission_model.h is one of machine accounts.
void EnumerateSubversionPermissions(const ServerContext& context, const RepositoryPath& where,
                                    IcEnumPermissionsCallback& callback) {
  const auto rules = GetAllPathPermissions(context, where.repository);
  for (std::u16string path = where.path;; path = Parent(path)) {
    if (const auto found = rules.find(path); found != rules.end()) {
      for (const PermissionEntry& entry : found->second)
        callback.OnPermission(&where.repository, &path, entry.account, entry.access);
    }
    if (path == u"/") return;
  }
}

}  // namespace

Account AccountFromText(const ServerContext& context, const std::u16string& text) {
  if (!context.configuration().GetUseWindowsAuth()) return SubversionAccountFromKey(text);
  const platform::SecurityAuthority& authority = *context.machine().security;
  std::u16string sid = text;
  if (text != u"*" && authority.NormalizeSid(text, sid) != ERROR_SUCCESS)
    sid = LookupAccountName(authority, text);
  return Account::Windows(sid);
}

std::u16string AccountText(const Account& account) { return KeyOf(account); }

std::vector<AccessRule> GlobalRules(const ServerContext& context) {
  std::vector<AccessRule> rules;
  Append(rules, std::nullopt, GetGlobalPermissions(context));
  return rules;
}

std::vector<AccessRule> RepositoryRules(const ServerContext& context,
                                        const std::u16string& repository) {
  std::vector<AccessRule> rules;
  for (const auto& [path, entries] : GetAllPathPermissions(context, repository))
    Append(rules, RepositoryPath{repository, path}, entries);
  return rules;
}

std::vector<AccessRule> RulesInForce(const ServerContext& context, const RuleScope& where) {
  if (!where) return GlobalRules(context);
  CEnumPermissionsCallback nearest;
  if (context.configuration().GetUseWindowsAuth())
    EnumerateEffectivePermissions(context, *where, nearest);
  else
    EnumerateSubversionPermissions(context, *where, nearest);
  return std::move(nearest.rules);
}

}  // namespace kelvarion::access
