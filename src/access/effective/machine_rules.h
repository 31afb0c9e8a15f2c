// A rules file of Windows authentication, with the line of each rule.
#pragma once

#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "access/account.h"
#include "access/effective/authz_problem.h"
#include "rules/rules.h"

namespace kelvarion::access {

struct MachineRule {
  std::string_view key;  // A SID, or "*".
  int line = 0;
  AccessLevel access = AccessLevel::NoAccess;
};

// Sections are listed as often as they come; to the web server they are one.
struct MachineSection {
  std::string_view name;
  int line = 0;
  std::vector<MachineRule> rules;
};

// Filled when it is made, then only read. Not copied or moved.
class MachineRules {
 public:
  // Takes the file's text.
  explicit MachineRules(std::string text);
  MachineRules(const MachineRules&) = delete;
  MachineRules& operator=(const MachineRules&) = delete;

  // Because of any of these the web server refuses all access.
  const std::vector<AuthzProblem>& problems() const { return problems_; }
  // What the web server's reader makes something else of than what stands there. Then neither
  // levels nor lines can be told.
  const std::vector<AuthzProblem>& puzzles() const { return puzzles_; }
  const std::deque<MachineSection>& sections() const { return sections_; }
  const rules::RuleSet& rules() const { return set_; }

  // The last rule of the section for the canonical SID; null when there is none.
  const MachineRule* Find(std::string_view section, std::string_view sid) const;

 private:
  void Parse();
  void CheckSection(std::string_view name, int line);
  void AddRule(std::string_view key, std::string_view value, int line);
  void FillSet();

  std::string text_;
  std::deque<MachineSection> sections_;
  rules::RuleSet set_;
  std::vector<AuthzProblem> problems_;
  std::vector<AuthzProblem> puzzles_;
};

}  // namespace kelvarion::access
