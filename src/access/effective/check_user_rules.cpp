// What the check finds in the rules of a repository with Subversion authentication.
#include <algorithm>
#include <map>
#include <span>

#include "access/effective/authz_rules.h"
#include "access/effective/check_internal.h"
#include "platform/text/encoding.h"
#include "platform/text/format.h"

namespace kelvarion::access {
namespace {

using Whom = AuthzEntry::Whom;

std::u16string Shown(std::string_view text) { return platform::Utf16ForDisplay(text); }

class Check {
 public:
  Check(const std::string& repository, const AuthzRules& rules, const KnownUsers& users,
        YoungestRevision& youngest, const CheckReport& report)
      : repository_(repository),
        rules_(rules),
        users_(users),
        youngest_(youngest),
        report_(report) {}

  void Run() {
    for (const AuthzProblem& problem : rules_.problems()) report_(problem);
    const bool usable = rules_.problems().empty() && rules_.groups().problems().empty();
    for (const AuthzSection& section : rules_.sections()) {
      CheckEntries(section);
      // What Subversion refuses is reported and has no place.
      if (!section.path.path.empty() || !section.path.wildcards.empty()) CheckPlace(section);
      if (usable) CheckReachable(section);
    }
    ReportUnknown();
  }

 private:
  struct Unknown {
    int line;
    std::string_view section;
    std::size_t count = 0;
  };

  void CheckEntries(const AuthzSection& section) {
    std::map<std::string_view, int> lines;
    for (const AuthzEntry& entry : section.entries) {
      const auto [first, fresh] = lines.emplace(entry.key, entry.line);
      if (!fresh) {
        report_(findings::kDuplicateRule, entry.line,
                Format(u"'%s' has a rule in line %d already; the web server joins the two, and "
                       u"management shows the last",
                       Shown(entry.key), first->second),
                section.name, entry.key);
      }
      if (entry.whom == Whom::kUser && !entry.name.starts_with('&') &&
          !users_.Has(std::string(entry.name)))
        ++unknown_.try_emplace(entry.name, Unknown{entry.line, section.name}).first->second.count;
    }
  }

  void CheckPlace(const AuthzSection& section) {
    if (const std::string& other = section.path.repository;
        !other.empty() && other != repository_) {
      report_(findings::kUnmatchedSection, section.line,
              Format(u"the section [%s] counts for a repository '%s', which is not this one",
                     Shown(section.name), Shown(other)),
              section.name);
      return;
    }
    if (!section.path.wildcards.empty()) return;
    if (const auto variant = paths_.Add(section.path.path)) {
      report_(findings::kCaseVariant, section.line,
              Format(u"the paths '%s' and '%s' differ only in case and are two",
                     Shown(section.path.path), *variant),
              section.name);
    }
    if (!youngest_.Has(section.path.path)) {
      report_(findings::kStalePath, section.line,
              Format(u"there are rules for '%s', which the youngest revision does not have",
                     Shown(section.path.path)),
              section.name);
    }
  }

  // What is granted where everything above is closed cannot be found from the root.
  void CheckReachable(const AuthzSection& section) {
    const std::string& path = section.path.path;
    if (path.empty() || path == "/" ||
        (!section.path.repository.empty() && section.path.repository != repository_))
      return;
    const std::string above = path.substr(0, std::max<std::size_t>(path.rfind('/'), 1));
    const AuthzRules::Levels levels = rules_.LevelsOf(repository_, above);
    const AuthzEntry* first = nullptr;
    std::size_t count = 0;
    for (const AuthzEntry& entry : section.entries) {
      if (!IsGrant(entry) || SeesAny(levels, {entry.name, entry.whom == Whom::kGroup})) continue;
      if (!first) first = &entry;
      ++count;
    }
    if (!first) return;
    report_(findings::kHiddenGrant, first->line,
            Format(u"%s may use '%s' but read nothing above it, and cannot check it out from the "
                   u"root",
                   FirstOf(first->key, count), Shown(path)),
            section.name, first->key);
  }

  static bool IsGrant(const AuthzEntry& entry) {
    return entry.access != AccessLevel::NoAccess && !entry.inverted &&
           (entry.whom == Whom::kUser || entry.whom == Whom::kGroup);
  }

  bool SeesAny(std::span<const AuthzRules::Levels::value_type> levels, AuthzSubject subject) const {
    for (; !levels.empty(); levels = levels.subspan(1))
      if (rules_.Decide(levels, subject).access != AccessLevel::NoAccess) return true;
    return false;
  }

  void ReportUnknown() const {
    for (const auto& [name, unknown] : unknown_) {
      report_(findings::kUnknownUser, unknown.line,
              unknown.count == 1 ? Format(u"there is a rule for '%s', who is no user%s",
                                          Shown(name), users_.Hint(name))
                                 : Format(u"there are %lu rules for '%s', who is no user%s",
                                          unknown.count, Shown(name), users_.Hint(name)),
              unknown.section, name);
    }
  }

  const std::string& repository_;
  const AuthzRules& rules_;
  const KnownUsers& users_;
  YoungestRevision& youngest_;
  const CheckReport& report_;
  CaseVariants paths_;
  std::map<std::string_view, Unknown> unknown_;
};

}  // namespace

void CheckUserRules(const std::string& repository, std::string text, const AuthzGroups& groups,
                    const KnownUsers& users, YoungestRevision& youngest,
                    const CheckReport& report) {
  const AuthzRules rules(std::move(text), groups);
  Check(repository, rules, users, youngest, report).Run();
}

}  // namespace kelvarion::access
