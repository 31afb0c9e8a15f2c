// Keys: RepositoryName, found ignoring case, Path and Account.

#include "handlers/ext/effective_access_class_handler.h"

#include "repos/repository_store.h"

namespace kelvarion {
namespace {

using Text = Property<std::u16string>;
using Number = Property<std::uint32_t>;

constexpr Text kRepositoryName{u"RepositoryName"};
constexpr Text kPath{u"Path"};
constexpr Text kAccount{u"Account"};
constexpr Text kDisplayName{u"DisplayName"};
constexpr Number kAccessLevel{u"AccessLevel"};
constexpr Property<bool> kCanLogOn{u"CanLogOn"};
constexpr Text kRuleFile{u"RuleFile"};
constexpr Number kRuleLine{u"RuleLine"};
constexpr Text kRuleSection{u"RuleSection"};
constexpr Text kRuleKey{u"RuleKey"};
constexpr Property<std::vector<std::u16string>> kThrough{u"Through"};
constexpr Text kExplanation{u"Explanation"};
constexpr Property<std::vector<WMIObject>> kEntries{u"Entries"};

// As the key has it.
const std::u16string kEverybody = u"*";

}  // namespace

WMIObject EffectiveAccessClassHandler::Describe(const access::RepositoryPath& where,
                                                const access::EffectiveAccess& access) const {
  const bool everybody = access.account.kind == access::AccountKind::Everyone;
  WMIObject entry = SpawnInstance();
  entry.Set(kRepositoryName, where.repository);
  entry.Set(kPath, where.path);
  entry.Set(kAccount, everybody ? kEverybody : access.account.name);
  entry.Set(kDisplayName, access.name());
  entry.Set(kAccessLevel, static_cast<std::uint32_t>(access.access));
  entry.Set(kCanLogOn, access.can_log_on);
  if (const auto& rule = access.reason->rule) {
    entry.Set(kRuleFile, rule->file);
    entry.Set(kRuleLine, static_cast<std::uint32_t>(rule->line));
    entry.Set(kRuleSection, rule->section);
    entry.Set(kRuleKey, rule->key);
  }
  entry.Set(kThrough, access.reason->through);
  entry.Set(kExplanation, access.reason->explanation);
  return entry;
}

access::RepositoryPath EffectiveAccessClassHandler::Where(const std::u16string& repository,
                                                          const std::u16string& path) const {
  return {repos::RequireRepository(context(), repository), path};
}

HRESULT EffectiveAccessClassHandler::GetObject(ParsedObjectPath& path, CallContext*,
                                               WMIObject& out) {
  const auto [repository, in_repository, account] = path.Keys(kRepositoryName, kPath, kAccount);
  const access::RepositoryPath where = Where(repository, in_repository);
  out = Describe(where, access::ExplainAccess(context(), where, account).front());
  return S_OK;
}

HRESULT EffectiveAccessClassHandler::EnumerateInstances(CallContext*, ResponseSink&) {
  throw WMIException(WBEM_E_NOT_SUPPORTED);
}

void EffectiveAccessClassHandler::Explain(MethodCall& call) {
  const access::RepositoryPath where = Where(call.in(kRepositoryName), call.in(kPath));
  std::vector<WMIObject> entries;
  for (const access::EffectiveAccess& access :
       access::ExplainAccess(context(), where, call.optional_in(kAccount)))
    entries.push_back(Describe(where, access));
  call.out().Set(kEntries, entries);
}

const MethodTable<EffectiveAccessClassHandler>& EffectiveAccessClassHandler::Methods() {
  static const MethodTable<EffectiveAccessClassHandler> table{
      {u"Explain", &EffectiveAccessClassHandler::Explain},
  };
  return table;
}

}  // namespace kelvarion
