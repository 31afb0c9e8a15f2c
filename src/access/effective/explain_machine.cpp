// Explanations with Windows authentication.
#include <algorithm>

#include "access/authz_files.h"
#include "access/effective/explain_internal.h"
#include "access/effective/machine_rules.h"
#include "access/effective/server_reader.h"
#include "access/sid.h"
#include "errors/exception.h"
#include "platform/text/encoding.h"
#include "svn/atomic_file.h"
#include "svn/text.h"

namespace kelvarion::access {
namespace {

constexpr std::string_view kEverybody = "*";
constexpr std::u16string_view kUnixUser = u"S-1-22-1-";

std::u16string Shown(std::string_view text) { return platform::Utf16ForDisplay(text); }

// "*" stands for itself.
std::u16string DisplayName(const platform::SecurityAuthority& authority,
                           const std::u16string& sid) {
  return sid == u"*" ? u"Everyone" : AccountDisplayName(authority, sid);
}

struct File {
  File(std::u16string file_path, const svn::Pool& pool)
      : path(std::move(file_path)), rules(svn::ReadFileIfPresent(path, pool).value_or("")) {}
  std::u16string path;
  MachineRules rules;
};

class Explainer {
 public:
  Explainer(const ServerContext& context, const RepositoryPath& where, const svn::Pool& pool)
      : authority_(*context.machine().security),
        own_(WindowsRulesFile(context, where.repository), pool),
        global_(GlobalRulesFile(context), pool),
        path_(svn::Utf8(where.path)),
        refusal_(Refusal(context)) {}

  // Whoever is named where the path, a folder above it or the whole server has its rules.
  std::vector<std::u16string> NamedAccounts() const {
    std::vector<std::u16string> sids;
    const auto add = [&](const rules::RuleSet& set, std::string_view section) {
      const rules::RuleSet::Section* const found = set.Find(section);
      if (!found) return;
      for (const auto& [key, level] : *found)
        if (!std::ranges::count(sids, Shown(key))) sids.push_back(Shown(key));
    };
    for (std::string_view path = path_;;) {
      add(own_.rules.rules(), path);
      if (path == "/") break;
      path = path.substr(0, std::max<std::size_t>(path.rfind('/'), 1));
    }
    add(global_.rules.rules(), "global");
    return sids;
  }

  EffectiveAccess For(const std::u16string& sid) const {
    EffectiveAccess access;
    access.account = sid == u"*" ? Account::Everyone() : Account::Windows(sid);
    access.display_name = DisplayName(authority_, sid);
    access.can_log_on = sid.starts_with(kUnixUser) && LookupAccountSid(authority_, sid);
    if (!refusal_.empty()) {
      access.reason = Reason(refusal_);
      return access;
    }
    const std::vector<std::string> sids = SidsOf(sid);
    const rules::Decision decision =
        rules::Decide(&own_.rules.rules(), &global_.rules.rules(), path_, sids);
    access.access = static_cast<AccessLevel>(decision.level);
    access.reason = ReasonFor(decision, sids.front());
    return access;
  }

 private:
  std::u16string Refusal(const ServerContext& context) const {
    ServerReader reader(context);
    for (const File* file : {&own_, &global_})
      if (const auto problem = reader.WhyUnreadable(file->path))
        return RefusedBecauseOf(file->path, *problem);
    for (const File* file : {&own_, &global_}) {
      if (!file->rules.problems().empty())
        return RefusedBecauseOf(file->path, file->rules.problems().front());
    }
    for (const File* file : {&own_, &global_}) {
      if (file->rules.puzzles().empty()) continue;
      const AuthzProblem& puzzle = file->rules.puzzles().front();
      throw SimpleException(
          u"The rules in %s cannot be explained: line %d: %s. Write each rule out by itself.",
          file->path, puzzle.line, puzzle.text);
    }
    return {};
  }

  // A text that is no SID, and everybody, stand for themselves alone.
  std::vector<std::string> SidsOf(const std::u16string& sid) const {
    std::vector<std::u16string> found;
    if (authority_.GetAccountSids(sid, found) != ERROR_SUCCESS) found = {sid};
    std::vector<std::string> sids;
    for (const std::u16string& each : found) sids.push_back(svn::Utf8(each));
    if (sids.front() != kEverybody) sids.emplace_back(kEverybody);
    return sids;
  }

  std::shared_ptr<const AccessReason> ReasonFor(const rules::Decision& decision,
                                                const std::string& own_sid) const {
    const auto access = static_cast<AccessLevel>(decision.level);
    if (!decision.found) return Reason({}, access, {});
    const File& file = decision.section == "global" ? global_ : own_;
    const MachineRule* const rule = file.rules.Find(decision.section, decision.sid);
    std::vector<std::u16string> through;
    if (decision.sid != own_sid && decision.sid != kEverybody)
      through.push_back(DisplayName(authority_, Shown(decision.sid)));
    return Reason(DecidingRule{file.path, rule ? rule->line : 0, Shown(decision.section),
                               Shown(decision.sid)},
                  access, std::move(through));
  }

  const platform::SecurityAuthority& authority_;
  File own_;
  File global_;
  std::string path_;
  std::u16string refusal_;
};

}  // namespace

std::vector<EffectiveAccess> ExplainForMachine(const ServerContext& context,
                                               const RepositoryPath& where,
                                               const std::optional<std::u16string>& account) {
  const svn::Pool pool(context.root_pool());
  const Explainer explainer(context, where, pool);
  if (account == u"*") return {explainer.For(*account)};
  if (account) return {explainer.For(LookupAccountName(*context.machine().security, *account))};
  std::vector<EffectiveAccess> all;
  for (const std::u16string& sid : explainer.NamedAccounts()) all.push_back(explainer.For(sid));
  return all;
}

}  // namespace kelvarion::access
