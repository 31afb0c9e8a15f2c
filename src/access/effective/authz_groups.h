// The groups file as Subversion's authorization reads it.
#pragma once

#include <boost/dynamic_bitset.hpp>
#include <deque>
#include <memory>
#include <memory_resource>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "access/effective/authz_problem.h"

namespace kelvarion::access {

// Members are as they stand in the file: a user, "@" and a group, or "&" and an alias.
struct AuthzGroup {
  std::string_view name;
  int line = 0;
  std::vector<std::string_view> members;
  std::vector<int> numbers;  // Of the members: the same text has the same one in all groups.
};

// Everybody in a group, also through other groups.
struct GroupReach {
  struct Step {
    const AuthzGroup* group;
    int parent;  // Through which step it is reached; -1 for the group itself.
  };
  // A user or an alias, and the step whose group names it, by the shortest way.
  struct Member {
    int number;
    int step;
  };
  std::vector<Step> steps;          // Nearest first.
  std::vector<Member> members;      // Each once, by number.
  boost::dynamic_bitset<> numbers;  // Which ones the members have: asked for each user and rule.

  bool Contains(std::string_view group) const;
  // Numbers below 0 are nobody's.
  bool HasMember(int number) const { return number >= 0 && numbers[number]; }
  // Of a member.
  int StepTo(int number) const;
  // The names of the groups from the group itself to the one of the step.
  std::vector<std::string_view> Chain(int step) const;
};

// Filled when it is made. For one thread at a time, since reaches are worked out when first asked
// for. Not copied or moved: its texts refer to each other.
class AuthzGroups {
 public:
  // Takes the file's text.
  explicit AuthzGroups(std::string text);
  AuthzGroups(const AuthzGroups&) = delete;
  AuthzGroups& operator=(const AuthzGroups&) = delete;

  // Because of any of these Subversion refuses all access.
  const std::vector<AuthzProblem>& problems() const { return problems_; }
  // In the order of the file.
  const std::deque<AuthzGroup>& groups() const { return groups_; }
  // Aliases that members use; rules files define them. Each once.
  const std::vector<std::string_view>& aliases() const { return aliases_; }

  const AuthzGroup* Find(std::string_view name) const;
  // How many different members there are; they are numbered from 0 on.
  std::size_t numbers() const { return numbers_.size(); }
  // -1 for what no group has as a member.
  int NumberOf(std::string_view member) const;
  // Null for a group that is not defined. There must be no problems.
  const GroupReach* Reach(std::string_view name) const;

 private:
  void Parse();
  void AddGroup(std::string_view name, std::string_view value, int line);
  void CheckNested();

  std::string text_;
  std::deque<std::string> values_;
  std::deque<AuthzGroup> groups_;
  std::unordered_map<std::string_view, const AuthzGroup*> by_name_;
  // Thousands of small nodes, freed at once.
  std::pmr::monotonic_buffer_resource memory_;
  std::pmr::unordered_map<std::string_view, int> numbers_{&memory_};
  std::vector<std::string_view> aliases_;
  std::vector<AuthzProblem> problems_;
  mutable std::unordered_map<std::string_view, std::unique_ptr<GroupReach>> reaches_;
};

}  // namespace kelvarion::access
