// Decisions by rules. Lines are sections in brackets, rules KEY=VALUE for the section before them,
// and paths to decide about.
#include <algorithm>

#include "fuzz/fuzz.h"
#include "rules/rules.h"

using namespace kelvarion;
using namespace kelvarion::rules;

namespace {

struct Input {
  RuleSet rules;
  std::vector<std::string> sids;
  std::vector<std::string> paths;
};

Input Read(std::string_view lines) {
  Input input;
  std::string section = "global";
  while (!lines.empty()) {
    const std::string_view line = fuzz::TakeLine(lines);
    const std::size_t sign = line.find('=');
    if (line.starts_with('[') && line.ends_with(']')) {
      section = line.substr(1, line.size() - 2);
    } else if (sign != line.npos) {
      input.rules.Add(section, line.substr(0, sign), line.substr(sign + 1));
      input.sids.push_back(CanonicalSid(line.substr(0, sign)));
    } else if (IsCanonicalPath(line)) {
      input.paths.emplace_back(line);
    }
  }
  return input;
}

void CheckPath(const Input& input, const std::string& path) {
  const RuleSet* const rules = &input.rules;
  const Decision decision = Decide(rules, rules, path, input.sids);
  fuzz::Expect(decision.found || decision.level == Level::kNone, "no rule, no access");
  fuzz::Expect(decision.section == "global" || path.starts_with(decision.section),
               "the rule that decides is one of the path or a folder above it");
  const std::vector<std::string> reversed(input.sids.rbegin(), input.sids.rend());
  fuzz::Expect(Decide(rules, rules, path, reversed).level == decision.level,
               "the order of the SIDs changes nothing");
  fuzz::Expect(DecideAnywhere(rules, rules, input.sids).level >= decision.level,
               "the most anywhere is no less than here");
  const Level tree = DecideTree(rules, rules, path, input.sids).level;
  fuzz::Expect(tree <= decision.level, "a tree allows no more than its top");
  for (const std::string& below : input.paths)
    if (path == "/" || below.starts_with(path + "/"))
      fuzz::Expect(tree <= Decide(rules, rules, below, input.sids).level, "nor than what is below");
}

}  // namespace

void kelvarion::fuzz::Target(std::string_view bytes) {
  const Input input = Read(bytes);
  for (const std::string& path : input.paths) CheckPath(input, path);
}
