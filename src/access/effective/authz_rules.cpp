#include "access/effective/authz_rules.h"

#include <algorithm>
#include <unordered_set>

#include "platform/text/encoding.h"
#include "platform/text/format.h"
#include "svn/config_scanner.h"

namespace kelvarion::access {
namespace {

using Kind = AuthzProblem::Kind;
using Whom = AuthzEntry::Whom;

constexpr std::size_t kUsualEntries = 16;

std::u16string Shown(std::string_view text) { return platform::Utf16ForDisplay(text); }

struct ParsedValue {
  AccessLevel access = AccessLevel::NoAccess;
  std::u16string problem;
};

ParsedValue ParseValue(std::string_view value) {
  bool read = false;
  bool write = false;
  for (const char c : value) {
    if (c == 'r') {
      read = true;
    } else if (c == 'w') {
      write = true;
    } else if (std::string_view(" \t\n\v\f\r").find(c) == std::string_view::npos) {
      return {{}, Format(u"'%s' is no access; it is 'rw', 'r' or nothing", Shown(value))};
    }
  }
  if (write && !read) return {{}, u"nobody can have write access without read access"};
  if (write) return {AccessLevel::ReadWrite, {}};
  return {read ? AccessLevel::ReadOnly : AccessLevel::NoAccess, {}};
}

// Fills whom, name and inverted; returns what is wrong.
std::u16string ParseKey(std::string_view key, AuthzEntry& entry) {
  entry.inverted = key.starts_with('~');
  if (entry.inverted) key.remove_prefix(1);
  entry.name = key;
  if (key.starts_with('~')) return u"'~' comes twice";
  if (key.starts_with('*')) {
    if (key != "*") return u"a rule for everybody must be a single '*'";
    if (entry.inverted) return u"'~*' is nobody";
    entry.whom = Whom::kEverybody;
  } else if (key.starts_with('$')) {
    const bool anonymous = key == "$anonymous";
    if (!anonymous && key != "$authenticated") return u"the token after '$' is not known";
    entry.whom = anonymous == entry.inverted ? Whom::kEverybody : Whom::kNobody;
    entry.inverted = false;
  } else if (key.starts_with('@')) {
    entry.whom = Whom::kGroup;
    entry.name = key.substr(1);
  }
  return {};
}

// Smaller says it more directly.
int Indirectness(const AuthzEntry& entry) {
  if (entry.inverted) return 2;
  return entry.whom == Whom::kUser ? 0 : entry.whom == Whom::kGroup ? 1 : 3;
}

bool IsBetter(const AuthzEntry& entry, const AuthzEntry* best) {
  if (!best || entry.access != best->access) return !best || entry.access > best->access;
  return Indirectness(entry) < Indirectness(*best);
}

}  // namespace

AuthzRules::AuthzRules(std::string text, const AuthzGroups& groups)
    : text_(std::move(text)), groups_(groups) {
  Parse();
  Resolve();
}

void AuthzRules::Report(Kind kind, int line, std::string_view section, std::string_view key,
                        std::u16string what) {
  problems_.push_back({kind, line, std::string(section), std::string(key), std::move(what)});
}

void AuthzRules::Parse() {
  using Token = svn::ConfigToken::Kind;
  svn::ConfigScanner scanner(text_);
  std::unordered_set<std::string_view> names;
  std::string_view name;
  for (svn::ConfigToken token = scanner.Next(); token.kind != Token::kEnd; token = scanner.Next()) {
    if (token.kind == Token::kError) {
      Report(Kind::kSyntax, token.line, name, {}, Shown(token.value));
    } else if (token.kind == Token::kSection) {
      name = token.name;
      if (!names.insert(name).second) {
        Report(Kind::kDuplicate, token.line, name, {}, u"the section comes twice");
      }
      if (name != "aliases" && name != "groups") AddSection(name, token.line);
    } else if (name == "aliases") {
      AddAlias(token.name, token.value, token.line);
    } else if (name == "groups") {
      Report(Kind::kSection, token.line, name, token.name,
             u"groups stand in the groups file, not among rules");
    } else {
      AddEntry(sections_.back(), token.name, token.value, token.line);
    }
  }
}

// One that Subversion refuses is kept for its entries, at no place.
void AuthzRules::AddSection(std::string_view name, int line) {
  RulePathResult result = ParseRulePath(name);
  AuthzSection& section = sections_.emplace_back();
  section.name = name;
  section.line = line;
  section.entries.reserve(kUsualEntries);
  if (!result.path) return Report(Kind::kSection, line, name, {}, std::move(result.problem));
  section.path = std::move(*result.path);
  const auto [place, fresh] =
      places_.emplace(section.path.repository + "\n" + section.path.Place(), &section);
  if (!fresh && place->second->name != name) {
    Report(Kind::kDuplicate, line, name, {},
           Format(u"it is the same place as [%s]", Shown(place->second->name)));
  }
  if (!section.path.wildcards.empty()) wildcards_.push_back(&section);
}

void AuthzRules::AddEntry(AuthzSection& section, std::string_view key, std::string_view value,
                          int line) {
  AuthzEntry entry;
  entry.key = key;
  entry.line = line;
  std::u16string problem = ParseKey(key, entry);
  ParsedValue parsed = ParseValue(value);
  entry.access = parsed.access;
  if (problem.empty()) problem = std::move(parsed.problem);
  if (!problem.empty()) Report(Kind::kEntry, line, section.name, key, std::move(problem));
  section.entries.push_back(entry);
}

void AuthzRules::AddAlias(std::string_view name, std::string_view value, int line) {
  if (BeginsWithMark(name)) {
    Report(Kind::kEntry, line, "aliases", name, u"this cannot be the name of an alias");
  } else if (!aliases_.emplace(name, alias_values_.emplace_back(value)).second) {
    Report(Kind::kDuplicate, line, "aliases", name, u"the alias is defined twice");
  }
}

void AuthzRules::Resolve() {
  for (const std::string_view alias : groups_.aliases()) {
    if (aliases_.contains(alias.substr(1))) continue;
    Report(
        Kind::kUndefined, 0, {}, alias,
        Format(u"a group contains the alias '%s', which this file does not define", Shown(alias)));
  }
  for (AuthzSection& section : sections_) {
    for (AuthzEntry& entry : section.entries) {
      if (entry.whom == Whom::kUser && entry.name.starts_with('&')) {
        const auto alias = aliases_.find(entry.name.substr(1));
        if (alias == aliases_.end()) {
          Report(Kind::kUndefined, entry.line, section.name, entry.key,
                 Format(u"the alias '%s' is not defined", Shown(entry.name)));
          continue;
        }
        entry.name = alias->second;
        if (entry.name.starts_with('@')) {
          entry.whom = Whom::kGroup;
          entry.name.remove_prefix(1);
        }
      }
      if (entry.whom == Whom::kGroup && !groups_.Find(entry.name)) {
        Report(Kind::kUndefined, entry.line, section.name, entry.key,
               Format(u"the group '%s' is not defined", Shown(entry.name)));
      }
    }
  }
}

std::vector<const AuthzSection*> AuthzRules::SectionsAt(std::string_view repository,
                                                        std::string_view path) const {
  std::vector<const AuthzSection*> found;
  const auto add = [&](std::string place) {
    if (const auto at = places_.find(place.append("\n").append(path)); at != places_.end())
      found.push_back(at->second);
  };
  add({});
  if (!repository.empty()) add(std::string(repository));
  if (!wildcards_.empty()) AddWildcards(repository, SplitPath(path), found);
  return found;
}

void AuthzRules::AddWildcards(std::string_view repository, const std::vector<std::string>& segments,
                              std::vector<const AuthzSection*>& found) const {
  for (const AuthzSection* section : wildcards_) {
    const std::string& of = section->path.repository;
    if ((of.empty() || of == repository) && section->path.MatchesWildcards(segments))
      found.push_back(section);
  }
}

AuthzRules::Levels AuthzRules::LevelsOf(std::string_view repository, std::string_view path) const {
  Levels levels;
  if (path == "/" && !wildcards_.empty()) {
    // Asked about the root itself, Subversion looks for something below it that has no name.
    levels.emplace_back();
    AddWildcards(repository, {""}, levels.back());
  }
  for (;;) {
    auto level = SectionsAt(repository, path);
    if (!level.empty()) levels.push_back(std::move(level));
    if (path == "/") return levels;
    path = path.substr(0, std::max<std::size_t>(path.rfind('/'), 1));
  }
}

AuthzDecision AuthzRules::Decide(std::span<const Levels::value_type> levels,
                                 AuthzSubject subject) const {
  // A member that begins with "&" is whom the alias stands for, and no user of that name.
  const bool may_be_member = !subject.is_group && !subject.name.starts_with('&');
  const Asked asked{subject, may_be_member ? groups_.NumberOf(subject.name) : -1};
  for (const auto& level : levels)
    if (const auto decision = DecideAt(level, asked)) return *decision;
  return {};
}

// Of several sections the last one of the file weighs most, except that of two for the same place
// the one of the repository alone does.
std::optional<AuthzDecision> AuthzRules::DecideAt(const std::vector<const AuthzSection*>& level,
                                                  const Asked& asked) const {
  if (level.size() == 1) return DecideIn(*level.front(), asked);
  std::vector<AuthzDecision> decisions;
  for (const AuthzSection* section : level)
    if (const auto decision = DecideIn(*section, asked)) decisions.push_back(*decision);
  std::optional<AuthzDecision> best;
  for (const AuthzDecision& decision : decisions) {
    const bool replaced = decision.section->path.repository.empty() &&
                          std::ranges::any_of(decisions, [&](const AuthzDecision& other) {
                            return !other.section->path.repository.empty() &&
                                   other.section->path.Place() == decision.section->path.Place();
                          });
    if (!replaced && (!best || decision.section->line > best->section->line)) best = decision;
  }
  return best;
}

const AuthzRules::Index& AuthzRules::IndexOf(const AuthzSection& section) const {
  const auto [found, fresh] = indexes_.try_emplace(&section);
  Index& index = found->second;
  if (!fresh) return index;
  index.named.resize(groups_.numbers());
  const auto name = [&](int number) {
    if (number >= 0) index.named.set(number);
  };
  for (const AuthzEntry& entry : section.entries) {
    if (entry.whom == Whom::kNobody) continue;
    const bool of_group = entry.whom == Whom::kGroup;
    const GroupReach* const reach = of_group ? groups_.Reach(entry.name) : nullptr;
    if (of_group && !reach) continue;
    if (entry.inverted || entry.whom == Whom::kEverybody) {
      index.others.push_back({&entry, reach});
    } else if (of_group) {
      index.groups.push_back({&entry, reach});
      index.named |= reach->numbers;
    } else {
      const AuthzEntry*& user = index.users[entry.name];
      if (IsBetter(entry, user)) user = &entry;
      name(groups_.NumberOf(entry.name));
    }
  }
  // Groups may have those whom aliases stand for.
  for (const auto& [alias, user] : aliases_) name(groups_.NumberOf(user));
  return index;
}

std::optional<AuthzDecision> AuthzRules::DecideIn(const AuthzSection& section,
                                                  const Asked& asked) const {
  const Index& index = IndexOf(section);
  const AuthzEntry* best = nullptr;
  const GroupReach* reach = nullptr;
  const auto consider = [&](const std::vector<Other>& others) {
    for (const Other& other : others) {
      if (!IsBetter(*other.entry, best) || !Concerns(other, asked)) continue;
      best = other.entry;
      reach = best->inverted ? nullptr : other.reach;
    }
  };
  if (asked.number < 0 || index.named[asked.number]) {
    const auto user = asked.is_group ? index.users.end() : index.users.find(asked.name);
    if (user != index.users.end()) best = user->second;
    consider(index.groups);
  }
  consider(index.others);
  if (best) {
    const bool through = reach && !asked.is_group;
    return AuthzDecision{best->access, &section, best,
                         through ? reach->StepTo(MemberIn(*reach, asked)) : -1};
  }
  // The root says "no access" for whomever it does not name.
  if (section.path.repository.empty() && section.path.path == "/")
    return AuthzDecision{AccessLevel::NoAccess, &section, nullptr};
  return std::nullopt;
}

bool AuthzRules::Concerns(const Other& other, const Asked& asked) const {
  const AuthzEntry& entry = *other.entry;
  if (entry.whom == Whom::kEverybody) return true;
  if (entry.whom == Whom::kUser)
    return (!asked.is_group && entry.name == asked.name) != entry.inverted;
  // A rule for a group without members counts for nobody, even turned around.
  if (other.reach->members.empty()) return false;
  const bool in_group =
      asked.is_group ? other.reach->Contains(asked.name) : MemberIn(*other.reach, asked) >= 0;
  return in_group != entry.inverted;
}

// The number of the user himself or of an alias for him that is in the group; -1 when neither is.
int AuthzRules::MemberIn(const GroupReach& reach, const Asked& asked) const {
  if (reach.HasMember(asked.number)) return asked.number;
  for (const std::string_view alias : groups_.aliases()) {
    const auto value = aliases_.find(alias.substr(1));
    if (value == aliases_.end() || value->second != asked.name) continue;
    if (const int of_alias = groups_.NumberOf(alias); reach.HasMember(of_alias)) return of_alias;
  }
  return -1;
}

std::vector<std::string_view> AuthzRules::Chain(const AuthzDecision& decision) const {
  if (decision.step < 0) return {};
  return groups_.Reach(decision.entry->name)->Chain(decision.step);
}

}  // namespace kelvarion::access
