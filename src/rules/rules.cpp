#include "rules/rules.h"

#include <algorithm>
#include <vector>

namespace kelvarion::rules {
namespace {

constexpr std::string_view kGlobalSection = "global";

// Empty after the root.
std::string_view Parent(std::string_view path) {
  if (path == "/") return {};
  return path.substr(0, std::max<std::size_t>(path.rfind('/'), 1));
}

// What two rules that count alike come to.
Level Together(Level one, Level other) {
  if (one == Level::kNone || other == Level::kNone) return Level::kNone;
  return std::max(one, other);
}

struct NamedSection {
  std::string_view name;
  const RuleSet::Section* rules;
};

// The sections in which rules for the path may stand, the nearest first.
std::vector<NamedSection> SectionsFor(const RuleSet* repository, const RuleSet* global,
                                      std::string_view path) {
  std::vector<NamedSection> sections;
  const auto add = [&](const RuleSet* rules, std::string_view name) {
    const RuleSet::Section* const section = rules ? rules->Find(name) : nullptr;
    if (section) sections.push_back({name, section});
  };
  for (; !path.empty(); path = Parent(path)) add(repository, path);
  add(global, kGlobalSection);
  return sections;
}

// Decides at each path below `path` where the decision can differ from that at the path above.
void DecideBelow(const RuleSet* repository, const RuleSet* global, std::string_view path,
                 std::span<const std::string> sids,
                 const std::function<void(const Decision&)>& visit) {
  if (!repository) return;
  repository->ForEachBelow(path, [&](const std::string& below, const RuleSet::Section& rules) {
    const bool concerned = std::ranges::any_of(
        sids, [&](const std::string& sid) { return rules.find(sid) != rules.end(); });
    if (concerned) visit(Decide(repository, global, below, sids));
  });
}

}  // namespace

Level LevelFromValue(std::string_view value) {
  if (value.find('w') != value.npos) return Level::kWrite;
  return value.find('r') != value.npos ? Level::kRead : Level::kNone;
}

bool IsSid(std::string_view text) {
  if (!text.starts_with("S-") && !text.starts_with("s-")) return false;
  text.remove_prefix(1);
  // Numbers that each follow one "-".
  return text.find_first_not_of("-0123456789") == text.npos && text.back() != '-' &&
         text.find("--") == text.npos;
}

std::string CanonicalSid(std::string_view text) {
  if (!IsSid(text)) return std::string(text);
  std::string canonical = "S";
  for (std::size_t i = 1; i < text.size(); ++i) {
    const bool leads = text[i] == '0' && canonical.back() == '-';
    const bool goes_on = i + 1 < text.size() && text[i + 1] != '-';
    if (!leads || !goes_on) canonical += text[i];
  }
  return canonical;
}

bool IsCanonicalPath(std::string_view path) {
  if (path == "/") return true;
  if (!path.starts_with('/')) return false;
  while (!path.empty()) {
    path.remove_prefix(1);
    const std::string_view name = path.substr(0, path.find('/'));
    if (name.empty() || name == "." || name == "..") return false;
    path.remove_prefix(name.size());
  }
  return true;
}

void RuleSet::Add(std::string_view section, std::string_view key, std::string_view value) {
  const Level level = LevelFromValue(value);
  const auto [rule, added] = sections_[std::string(section)].try_emplace(CanonicalSid(key), level);
  if (!added) rule->second = Together(rule->second, level);
}

const RuleSet::Section* RuleSet::Find(std::string_view section) const {
  const auto found = sections_.find(section);
  return found == sections_.end() ? nullptr : &found->second;
}

void RuleSet::ForEachBelow(
    std::string_view path,
    const std::function<void(const std::string& name, const Section&)>& visit) const {
  const std::string prefix = path == "/" ? "/" : std::string(path) + "/";
  for (auto it = sections_.lower_bound(prefix);
       it != sections_.end() && it->first.starts_with(prefix); ++it)
    if (it->first.size() > prefix.size()) visit(it->first, it->second);
}

Decision Decide(const RuleSet* repository, const RuleSet* global, std::string_view path,
                std::span<const std::string> sids) {
  const std::vector<NamedSection> sections = SectionsFor(repository, global, path);
  Decision decision;
  for (const std::string& sid : sids) {
    for (const auto& [name, rules] : sections) {
      const auto rule = rules->find(sid);
      if (rule == rules->end()) continue;
      const Level level = rule->second;
      if (level == Level::kNone) return {level, true, name, sid};
      if (!decision.found || level > decision.level) decision = {level, true, name, sid};
      break;
    }
  }
  return decision;
}

Decision DecideTree(const RuleSet* repository, const RuleSet* global, std::string_view path,
                    std::span<const std::string> sids) {
  Decision least = Decide(repository, global, path, sids);
  DecideBelow(repository, global, path, sids, [&](const Decision& below) {
    if (below.level < least.level) least = below;
  });
  return least;
}

Decision DecideAnywhere(const RuleSet* repository, const RuleSet* global,
                        std::span<const std::string> sids) {
  Decision most = Decide(repository, global, "/", sids);
  DecideBelow(repository, global, "/", sids, [&](const Decision& below) {
    if (below.level > most.level) most = below;
  });
  return most;
}

}  // namespace kelvarion::rules
