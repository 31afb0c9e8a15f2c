// A rules file of Subversion authentication and what it decides, as Subversion's own authorization
// does, with the rule that does it.
#pragma once

#include <deque>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "access/account.h"
#include "access/effective/authz_groups.h"
#include "access/effective/rule_path.h"

namespace kelvarion::access {

// One line of a section.
struct AuthzEntry {
  // Whom it is for, before "~" turns it around. Tokens for anonymous clients are kNobody: the
  // server lets nobody in without a name.
  enum class Whom { kUser, kGroup, kEverybody, kNobody };
  std::string_view key;  // As it stands there.
  int line = 0;
  Whom whom = Whom::kUser;
  std::string_view name;  // Of the user or the group; an alias stands for one.
  bool inverted = false;
  AccessLevel access = AccessLevel::NoAccess;
};

struct AuthzSection {
  std::string_view name;
  int line = 0;
  RulePath path;
  std::vector<AuthzEntry> entries;
};

// Somebody whose access is asked for: a user, or what is common to all members of a group.
struct AuthzSubject {
  std::string_view name;
  bool is_group = false;
};

struct AuthzDecision {
  AccessLevel access = AccessLevel::NoAccess;
  // Null when no rule concerns the subject.
  const AuthzSection* section = nullptr;
  // Alone enough for the level; of several the one that says it most directly.
  const AuthzEntry* entry = nullptr;
  // Of the reach of the entry's group, to the user; -1 when the entry concerns him otherwise.
  int step = -1;
};

// Filled when it is made. For one thread at a time; not copied or moved.
class AuthzRules {
 public:
  // Takes the file's text. The groups must outlive the rules.
  AuthzRules(std::string text, const AuthzGroups& groups);
  AuthzRules(const AuthzRules&) = delete;
  AuthzRules& operator=(const AuthzRules&) = delete;

  // Because of any of these, or of one in the groups, Subversion refuses all access. Nothing may
  // be decided then.
  const std::vector<AuthzProblem>& problems() const { return problems_; }
  const std::deque<AuthzSection>& sections() const { return sections_; }
  const AuthzGroups& groups() const { return groups_; }
  // Whether there are rules with wildcards, which Subversion itself does not follow to the letter.
  bool has_wildcards() const { return !wildcards_.empty(); }

  // What decides for a canonical path: the sections that apply at the path, then those at the
  // folder above it, and so on up to "/".
  using Levels = std::vector<std::vector<const AuthzSection*>>;
  Levels LevelsOf(std::string_view repository, std::string_view path) const;
  AuthzDecision Decide(std::span<const Levels::value_type> levels, AuthzSubject subject) const;
  // The groups from the entry's own to the one that names the user.
  std::vector<std::string_view> Chain(const AuthzDecision& decision) const;

 private:
  // What helps to find the entries of one section that concern somebody.
  struct Other {
    const AuthzEntry* entry;
    const GroupReach* reach;  // Of a group.
  };
  struct Asked : AuthzSubject {
    int number;  // As a member of groups.
  };
  struct Index {
    std::unordered_map<std::string_view, const AuthzEntry*> users;
    std::vector<Other> groups;
    std::vector<Other> others;  // For everybody, or turned around.
    // Members of groups for whom there may be something in users and groups.
    boost::dynamic_bitset<> named;
  };

  void Parse();
  void AddSection(std::string_view name, int line);
  void AddEntry(AuthzSection& section, std::string_view key, std::string_view value, int line);
  void AddAlias(std::string_view name, std::string_view value, int line);
  void Resolve();
  void Report(AuthzProblem::Kind kind, int line, std::string_view section, std::string_view key,
              std::u16string what);

  const Index& IndexOf(const AuthzSection& section) const;
  std::vector<const AuthzSection*> SectionsAt(std::string_view repository,
                                              std::string_view path) const;
  void AddWildcards(std::string_view repository, const std::vector<std::string>& segments,
                    std::vector<const AuthzSection*>& found) const;
  std::optional<AuthzDecision> DecideIn(const AuthzSection& section, const Asked& asked) const;
  std::optional<AuthzDecision> DecideAt(const std::vector<const AuthzSection*>& level,
                                        const Asked& asked) const;
  bool Concerns(const Other& other, const Asked& asked) const;
  int MemberIn(const GroupReach& reach, const Asked& asked) const;

  std::string text_;
  const AuthzGroups& groups_;
  std::deque<AuthzSection> sections_;  // In the order of the file; a later one weighs more.
  std::unordered_map<std::string, const AuthzSection*> places_;  // Repository, line feed, place.
  std::vector<const AuthzSection*> wildcards_;
  std::deque<std::string> alias_values_;
  std::unordered_map<std::string_view, std::string_view> aliases_;  // "&name" is "name" here.
  std::vector<AuthzProblem> problems_;
  mutable std::unordered_map<const AuthzSection*, Index> indexes_;
};

}  // namespace kelvarion::access
