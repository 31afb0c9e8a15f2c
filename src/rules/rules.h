// What an account of the machine may do at a path, and which rule says so.
//
// The one place that decides: the web server's module enforces by it, explanations show it. It
// knows neither files nor accounts: rules come as the texts of a rules file (UTF-8), an account as
// the SIDs that stand for it, and "*" where rules for everybody shall count. For each SID its
// nearest rule counts, looked for at the path, at each folder above it, last among the rules for
// all repositories; one "no access" among them denies, otherwise the highest level holds. Without
// any rule there is no access.
#pragma once

#include <functional>
#include <map>
#include <span>
#include <string>
#include <string_view>

namespace kelvarion::rules {

enum class Level { kNone = 0, kRead = 1, kWrite = 2 };

// What contains "w" may write, what contains "r" may read; in small letters only.
Level LevelFromValue(std::string_view value);

// A SID as the machine writes it, whatever the case of its letters and the zeros before its
// numbers; any other text as it is.
std::string CanonicalSid(std::string_view text);
bool IsSid(std::string_view text);

// "/", or names that each follow one "/" and are neither empty nor "." nor "..". Under other names
// a section would never be found.
bool IsCanonicalPath(std::string_view path);

// The rules of one file. Filled once, then only read, by any thread.
class RuleSet {
 public:
  using Section = std::map<std::string, Level, std::less<>>;

  // Keys that are one SID in several spellings count together as several SIDs would.
  void Add(std::string_view section, std::string_view key, std::string_view value);

  // Null when there is no such section.
  const Section* Find(std::string_view section) const;
  // The sections of everything below a path, in the order of their names.
  void ForEachBelow(
      std::string_view path,
      const std::function<void(const std::string& name, const Section&)>& visit) const;

 private:
  std::map<std::string, Section, std::less<>> sections_;
};

// Who decides. The texts belong to the rule sets, the path and the SIDs that were asked about.
struct Decision {
  Level level = Level::kNone;
  // Whether any rule counted; without one the rest is empty.
  bool found = false;
  std::string_view section;
  std::string_view sid;
};

// In all three, the SIDs are canonical, and `repository` is null where no rules of a repository
// count. The section of the rules for all repositories is "global".

// `path` is canonical; it is empty where only the rules for all repositories can count.
Decision Decide(const RuleSet* repository, const RuleSet* global, std::string_view path,
                std::span<const std::string> sids);

// What may be done to the path together with everything below it: where that is least.
Decision DecideTree(const RuleSet* repository, const RuleSet* global, std::string_view path,
                    std::span<const std::string> sids);

// The most that may be done anywhere in the repository.
Decision DecideAnywhere(const RuleSet* repository, const RuleSet* global,
                        std::span<const std::string> sids);

}  // namespace kelvarion::rules
