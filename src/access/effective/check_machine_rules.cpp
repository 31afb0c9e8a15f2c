// What the check finds in rules files with Windows authentication.
#include <algorithm>
#include <map>

#include "access/effective/check_internal.h"
#include "access/effective/machine_rules.h"
#include "platform/text/encoding.h"
#include "platform/text/format.h"
#include "svn/text.h"

namespace kelvarion::access {
namespace {

std::u16string Shown(std::string_view text) { return platform::Utf16ForDisplay(text); }

// What the rules of a repository and those of the server have in common.
class Check {
 public:
  Check(const MachineRules& rules, KnownAccounts& accounts, const CheckReport& report)
      : accounts_(accounts), report_(report) {
    for (const AuthzProblem& problem : rules.problems()) report_(problem);
    for (const AuthzProblem& puzzle : rules.puzzles())
      report_(findings::kUnclearRules, puzzle.line, puzzle.text, puzzle.section, puzzle.key);
  }

  // False when the section came before; its rules are then looked at all the same.
  bool CheckSection(const MachineSection& section) {
    const auto [first, fresh] = sections_.emplace(section.name, section.line);
    if (!fresh) {
      report_(findings::kDuplicateRule, section.line,
              Format(u"the section [%s] begins in line %d already; the web server joins the two",
                     Shown(section.name), first->second),
              section.name);
    }
    for (const MachineRule& rule : section.rules) CheckRule(section, rule);
    return fresh;
  }

 private:
  void CheckRule(const MachineSection& section, const MachineRule& rule) {
    const auto [first, fresh] = rules_.emplace(std::pair(section.name, rule.key), rule.line);
    if (!fresh) {
      report_(findings::kDuplicateRule, rule.line,
              Format(u"'%s' has a rule in line %d already; the last one counts", Shown(rule.key),
                     first->second),
              section.name, rule.key);
    }
    const std::string key(rule.key);
    if (key == "*") return;
    if (!accounts_.IsSid(key)) {
      report_(findings::kNoSid, rule.line,
              Format(u"'%s' is no SID and stands for nobody", Shown(key)), section.name, key);
    } else if (!accounts_.Exists(key) && unresolved_.emplace(key, rule.line).second) {
      report_(findings::kUnresolvedAccount, rule.line,
              Format(u"there is no account with the SID '%s'", Shown(key)), section.name, key);
    }
  }

  KnownAccounts& accounts_;
  const CheckReport& report_;
  std::map<std::string_view, int> sections_;
  std::map<std::pair<std::string_view, std::string_view>, int> rules_;
  std::map<std::string, int> unresolved_;
};

void CheckPlace(const MachineSection& section, CaseVariants& paths, YoungestRevision& youngest,
                const CheckReport& report) {
  if (!section.name.starts_with('/')) {
    report(findings::kUnmatchedSection, section.line,
           Format(u"the section [%s] is no path and its rules do not count", Shown(section.name)),
           section.name);
    return;
  }
  if (const auto variant = paths.Add(section.name)) {
    report(findings::kCaseVariant, section.line,
           Format(u"the paths '%s' and '%s' differ only in case and are two", Shown(section.name),
                  *variant),
           section.name);
  }
  if (!youngest.Has(std::string(section.name))) {
    report(findings::kStalePath, section.line,
           Format(u"there are rules for '%s', which the youngest revision does not have",
                  Shown(section.name)),
           section.name);
  }
}

bool SeesAnyAbove(const MachineRules& rules, const rules::RuleSet* global, std::string_view path,
                  const std::vector<std::string>& sids) {
  while (path != "/") {
    path = path.substr(0, std::max<std::size_t>(path.rfind('/'), 1));
    if (rules::Decide(&rules.rules(), global, path, sids).level != rules::Level::kNone) return true;
  }
  return false;
}

void CheckReachable(const MachineRules& rules, const rules::RuleSet* global,
                    const MachineSection& section, KnownAccounts& accounts,
                    const CheckReport& report) {
  if (!section.name.starts_with('/') || section.name == "/") return;
  const MachineRule* first = nullptr;
  std::size_t count = 0;
  for (const MachineRule& rule : section.rules) {
    if (rule.access == AccessLevel::NoAccess || rule.key == "*") continue;
    const std::string sid(rule.key);
    if (!accounts.IsSid(sid) || SeesAnyAbove(rules, global, section.name, accounts.Sids(sid)))
      continue;
    if (!first) first = &rule;
    ++count;
  }
  if (!first) return;
  report(findings::kHiddenGrant, first->line,
         Format(u"%s may use '%s' but read nothing above it, and cannot check it out from the root",
                FirstOf(first->key, count), Shown(section.name)),
         section.name, first->key);
}

}  // namespace

void CheckMachineRules(const MachineRules& rules, const MachineRules* global,
                       KnownAccounts& accounts, YoungestRevision& youngest,
                       const CheckReport& report) {
  Check check(rules, accounts, report);
  CaseVariants paths;
  const bool usable = rules.problems().empty() && rules.puzzles().empty();
  for (const MachineSection& section : rules.sections()) {
    if (check.CheckSection(section) && rules.problems().empty())
      CheckPlace(section, paths, youngest, report);
    if (usable)
      CheckReachable(rules, global ? &global->rules() : nullptr, section, accounts, report);
  }
}

void CheckGlobalRules(const MachineRules& rules, KnownAccounts& accounts,
                      const CheckReport& report) {
  Check check(rules, accounts, report);
  for (const MachineSection& section : rules.sections()) {
    if (check.CheckSection(section) && section.name != "global") {
      report(findings::kUnmatchedSection, section.line,
             Format(u"the section [%s] does not count: the rules of the server are in [global]",
                    Shown(section.name)),
             section.name);
    }
  }
}

}  // namespace kelvarion::access
