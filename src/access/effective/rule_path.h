// Where a section of a Subversion rules file applies.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kelvarion::access {

// One part of a path with wildcards.
struct RuleSegment {
  enum class Kind { kLiteral, kPrefix, kSuffix, kAnyOne, kAnyNumber, kPattern };
  Kind kind = Kind::kLiteral;
  std::string text;

  // False for kAnyNumber, which stands for no particular segment.
  bool Matches(const std::string& segment) const;
};

// [/path], [repository:/path] or either with wildcards, [:glob:/path].
struct RulePath {
  std::string repository;  // Empty: all repositories.
  std::string path;        // Canonical; without meaning when there are wildcards.
  std::vector<RuleSegment> wildcards;

  // Whether it applies at exactly this path, whose parts are given.
  bool MatchesWildcards(std::span<const std::string> segments) const;
  // Equal for sections that Subversion takes for the same place, the repository aside.
  std::string Place() const;
};

struct RulePathResult {
  std::optional<RulePath> path;
  // For people, without a full stop; empty when there is a path.
  std::u16string problem;
};

// Takes the name of a section apart as Subversion does. "aliases" and "groups" are no rule paths.
RulePathResult ParseRulePath(std::string_view section);

// The parts of a canonical path; none for "/".
std::vector<std::string> SplitPath(std::string_view path);

}  // namespace kelvarion::access
