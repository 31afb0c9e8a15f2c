#include "access/effective/rule_path.h"

#include <apr_fnmatch.h>

#include <algorithm>

namespace kelvarion::access {
namespace {

using Kind = RuleSegment::Kind;

constexpr std::string_view kGlobToken = ":glob:";

bool HasWildcards(const std::string& text) { return apr_fnmatch_test(text.c_str()) != 0; }

// A backslash makes the next character ordinary; at the end it stands for itself.
std::string Unescaped(std::string_view text) {
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\\' && i + 1 < text.size()) ++i;
    plain += text[i];
  }
  return plain;
}

RuleSegment ParseSegment(const std::string& text) {
  if (!HasWildcards(text)) return {Kind::kLiteral, Unescaped(text)};
  if (text == "*") return {Kind::kAnyOne, {}};
  if (text == "**") return {Kind::kAnyNumber, {}};
  if (text.front() == '*' && !HasWildcards(text.substr(1)))
    return {Kind::kSuffix, Unescaped(text.substr(1))};
  const std::string head = text.substr(0, text.size() - 1);
  if (text.back() == '*' && head.back() != '\\' && !HasWildcards(head))
    return {Kind::kPrefix, Unescaped(head)};
  return {Kind::kPattern, text};
}

// Any number of segments comes last and once among wildcards that follow each other.
void Append(std::vector<RuleSegment>& segments, RuleSegment segment) {
  const bool after_any = !segments.empty() && segments.back().kind == Kind::kAnyNumber;
  if (after_any && segment.kind == Kind::kAnyNumber) return;
  if (after_any && segment.kind == Kind::kAnyOne) std::swap(segments.back(), segment);
  segments.push_back(std::move(segment));
}

// Empty for the root; nothing for a path that Subversion takes for non-canonical.
std::optional<std::vector<std::string>> CheckedSegments(std::string_view path) {
  std::vector<std::string> segments;
  // What follows "//" at the start is not looked at.
  if (path == "/" || path.starts_with("//")) return segments;
  for (std::size_t start = 1; start <= path.size();) {
    const std::size_t end = std::min(path.find('/', start), path.size());
    segments.emplace_back(path.substr(start, end - start));
    if (segments.back().empty() || segments.back() == "." || segments.back() == "..")
      return std::nullopt;
    start = end + 1;
  }
  return segments;
}

std::string Joined(const std::vector<RuleSegment>& segments) {
  std::string path;
  for (const RuleSegment& segment : segments) path += "/" + segment.text;
  return path.empty() ? "/" : path;
}

RulePathResult Problem(const char16_t* problem) { return {std::nullopt, problem}; }

}  // namespace

bool RuleSegment::Matches(const std::string& segment) const {
  switch (kind) {
    case Kind::kLiteral:
      return segment == text;
    case Kind::kPrefix:
      return segment.starts_with(text);
    case Kind::kSuffix:
      return segment.ends_with(text);
    case Kind::kAnyOne:
      return true;
    case Kind::kAnyNumber:
      return false;
    case Kind::kPattern:
      return apr_fnmatch(text.c_str(), segment.c_str(), 0) == APR_SUCCESS;
  }
  return false;
}

// One pass over the path with the set of the places in the rule that have been reached.
bool RulePath::MatchesWildcards(std::span<const std::string> segments) const {
  const std::size_t count = wildcards.size();
  const auto any_number = [&](std::size_t i) {
    return i < count && wildcards[i].kind == Kind::kAnyNumber;
  };
  std::vector<bool> reached(count + 1);
  const auto reach = [&](std::vector<bool>& set, std::size_t i) {
    set[i] = true;
    if (any_number(i)) set[i + 1] = true;
  };
  reach(reached, 0);
  for (const std::string& segment : segments) {
    std::vector<bool> next(count + 1);
    for (std::size_t i = 0; i < count; ++i) {
      if (!reached[i]) continue;
      if (any_number(i)) reach(next, i);
      if (wildcards[i].Matches(segment)) reach(next, i + 1);
    }
    reached = std::move(next);
  }
  return reached[count];
}

std::string RulePath::Place() const {
  if (wildcards.empty()) return path;
  std::string place = "\n";
  for (const RuleSegment& segment : wildcards) {
    place += static_cast<char>('0' + static_cast<int>(segment.kind));
    place += segment.text + "\n";
  }
  return place;
}

RulePathResult ParseRulePath(std::string_view section) {
  const bool glob = section.starts_with(kGlobToken);
  if (glob) {
    section.remove_prefix(kGlobToken.size());
  } else if (section.starts_with(':')) {
    return Problem(u"there is no repository before ':'");
  }
  RulePath rule;
  if (!section.starts_with('/')) {
    const std::size_t colon = section.find(':');
    if (colon == 0) return Problem(u"there is no repository before ':'");
    if (colon != section.npos) {
      rule.repository = section.substr(0, colon);
      section.remove_prefix(colon + 1);
    }
  }
  if (!section.starts_with('/')) return Problem(u"it is neither a path nor known otherwise");
  const auto segments = CheckedSegments(section);
  if (!segments) return Problem(u"the path is not canonical");
  if (!glob) {
    rule.path = segments->empty() ? "/" : section;
    return {std::move(rule), {}};
  }
  for (const std::string& segment : *segments) Append(rule.wildcards, ParseSegment(segment));
  if (std::ranges::all_of(rule.wildcards,
                          [](const RuleSegment& s) { return s.kind == Kind::kLiteral; })) {
    rule.path = Joined(rule.wildcards);
    rule.wildcards.clear();
  }
  return {std::move(rule), {}};
}

std::vector<std::string> SplitPath(std::string_view path) {
  std::vector<std::string> segments;
  for (std::size_t start = 1; start < path.size();) {
    const std::size_t end = std::min(path.find('/', start), path.size());
    segments.emplace_back(path.substr(start, end - start));
    start = end + 1;
  }
  return segments;
}

}  // namespace kelvarion::access
