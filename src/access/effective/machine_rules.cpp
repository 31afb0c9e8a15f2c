#include "access/effective/machine_rules.h"

#include <map>

#include "platform/text/encoding.h"
#include "platform/text/format.h"
#include "svn/config_scanner.h"

namespace kelvarion::access {
namespace {

using Kind = AuthzProblem::Kind;

std::u16string Shown(std::string_view text) { return platform::Utf16ForDisplay(text); }

}  // namespace

MachineRules::MachineRules(std::string text) : text_(std::move(text)) {
  Parse();
  FillSet();
}

void MachineRules::Parse() {
  using Token = svn::ConfigToken::Kind;
  svn::ConfigScanner scanner(text_);
  for (svn::ConfigToken token = scanner.Next(); token.kind != Token::kEnd; token = scanner.Next()) {
    if (token.kind == Token::kError) {
      problems_.push_back({Kind::kSyntax, token.line, {}, {}, Shown(token.value)});
    } else if (token.kind == Token::kSection) {
      sections_.push_back({token.name, token.line, {}});
    } else {
      AddRule(token.name, token.value, token.line);
    }
  }
}

// Of one that has a rule: the web server does not get to know of others.
void MachineRules::CheckSection(std::string_view name, int line) {
  if (name.starts_with('/') && !rules::IsCanonicalPath(name)) {
    problems_.push_back(
        {Kind::kSection, line, std::string(name), {}, u"the path is not canonical"});
  }
  if (name == "DEFAULT") {
    puzzles_.push_back({Kind::kSection,
                        line,
                        std::string(name),
                        {},
                        u"values of the section [DEFAULT] show up in other sections"});
  }
}

void MachineRules::AddRule(std::string_view key, std::string_view value, int line) {
  MachineSection& section = sections_.back();
  if (section.rules.empty()) CheckSection(section.name, section.line);
  section.rules.push_back({key, line, static_cast<AccessLevel>(rules::LevelFromValue(value))});
  if (value.find("%(") != value.npos) {
    puzzles_.push_back({Kind::kEntry, line, std::string(section.name), std::string(key),
                        Format(u"the value '%s' refers to another one", Shown(value))});
  }
}

// Of a rule that comes twice the last one counts.
void MachineRules::FillSet() {
  constexpr const char* kValues[] = {"", "r", "rw"};
  std::map<std::pair<std::string_view, std::string_view>, AccessLevel> last;
  for (const MachineSection& section : sections_)
    for (const MachineRule& rule : section.rules) last[{section.name, rule.key}] = rule.access;
  for (const auto& [where, access] : last)
    set_.Add(where.first, where.second, kValues[static_cast<int>(access)]);
}

const MachineRule* MachineRules::Find(std::string_view section, std::string_view sid) const {
  const MachineRule* found = nullptr;
  for (const MachineSection& each : sections_) {
    if (each.name != section) continue;
    for (const MachineRule& rule : each.rules)
      if (rules::CanonicalSid(rule.key) == sid) found = &rule;
  }
  return found;
}

}  // namespace kelvarion::access
