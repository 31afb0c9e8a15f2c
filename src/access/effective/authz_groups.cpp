#include "access/effective/authz_groups.h"

#include <algorithm>
#include <set>
#include <utility>

#include "platform/text/encoding.h"
#include "platform/text/format.h"
#include "svn/config_scanner.h"

namespace kelvarion::access {
namespace {

using Kind = AuthzProblem::Kind;

std::u16string Shown(std::string_view text) { return platform::Utf16ForDisplay(text); }

// Blanks around a member do not count, those in it do.
std::vector<std::string_view> SplitMembers(std::string_view value) {
  constexpr std::string_view kBlanks = " \t\n\v\f\r";
  std::vector<std::string_view> members;
  while (!value.empty()) {
    std::string_view member = value.substr(0, value.find(','));
    value.remove_prefix(std::min(member.size() + 1, value.size()));
    member.remove_prefix(std::min(member.find_first_not_of(kBlanks), member.size()));
    member = member.substr(0, member.find_last_not_of(kBlanks) + 1);
    if (!member.empty()) members.push_back(member);
  }
  return members;
}

}  // namespace

bool GroupReach::Contains(std::string_view group) const {
  return std::ranges::any_of(steps, [&](const Step& step) { return step.group->name == group; });
}

int GroupReach::StepTo(int number) const {
  return std::ranges::lower_bound(members, number, {}, &Member::number)->step;
}

std::vector<std::string_view> GroupReach::Chain(int step) const {
  std::vector<std::string_view> chain;
  for (; step >= 0; step = steps[step].parent) chain.push_back(steps[step].group->name);
  std::ranges::reverse(chain);
  return chain;
}

AuthzGroups::AuthzGroups(std::string text) : text_(std::move(text)) {
  Parse();
  CheckNested();
}

void AuthzGroups::Parse() {
  using Token = svn::ConfigToken::Kind;
  svn::ConfigScanner scanner(text_);
  std::string section;
  bool seen = false;
  for (svn::ConfigToken token = scanner.Next(); token.kind != Token::kEnd; token = scanner.Next()) {
    const auto report = [&](Kind kind, std::u16string what) {
      problems_.push_back({kind, token.line, section, std::string(token.name), std::move(what)});
    };
    if (token.kind == Token::kError) {
      report(Kind::kSyntax, Shown(token.value));
    } else if (token.kind == Token::kSection) {
      section = token.name;
      if (section != "groups") {
        report(Kind::kSection, Format(u"the groups file has a section [%s]", Shown(section)));
      } else if (std::exchange(seen, true)) {
        report(Kind::kDuplicate, u"the section [groups] comes twice");
      }
    } else if (section == "groups") {
      if (BeginsWithMark(token.name)) {
        report(Kind::kEntry, Format(u"'%s' cannot be the name of a group", Shown(token.name)));
      } else if (by_name_.contains(token.name)) {
        report(Kind::kDuplicate, Format(u"the group '%s' is defined twice", Shown(token.name)));
      } else {
        AddGroup(token.name, token.value, token.line);
      }
    }
  }
}

void AuthzGroups::AddGroup(std::string_view name, std::string_view value, int line) {
  const std::string& kept = values_.emplace_back(value);
  AuthzGroup& group = groups_.emplace_back(AuthzGroup{name, line, SplitMembers(kept), {}});
  by_name_.emplace(name, &group);
  group.numbers.reserve(group.members.size());
  for (const std::string_view member : group.members) {
    const auto [number, fresh] = numbers_.emplace(member, static_cast<int>(numbers_.size()));
    group.numbers.push_back(number->second);
    if (fresh && member.front() == '&') aliases_.push_back(member);
  }
}

// Depth first without recursion. Each group that closes a circle is told once.
void AuthzGroups::CheckNested() {
  struct Step {
    const AuthzGroup* group;
    std::size_t next;
  };
  std::set<const AuthzGroup*> finished;
  for (const AuthzGroup& start : groups_) {
    if (finished.contains(&start)) continue;
    std::vector<Step> path{{&start, 0}};
    std::set<const AuthzGroup*> on_path{&start};
    while (!path.empty()) {
      Step& step = path.back();
      const AuthzGroup& group = *step.group;
      if (step.next == group.members.size()) {
        on_path.erase(&group);
        finished.insert(&group);
        path.pop_back();
        continue;
      }
      const std::string_view member = group.members[step.next++];
      if (member.front() != '@') continue;
      const auto report = [&](Kind kind, std::u16string what) {
        problems_.push_back({kind, group.line, "groups", std::string(group.name), std::move(what)});
      };
      const AuthzGroup* const nested = Find(member.substr(1));
      if (!nested) {
        report(Kind::kUndefined, Format(u"the group '%s' contains '%s', which is not defined",
                                        Shown(group.name), Shown(member)));
      } else if (on_path.contains(nested)) {
        report(Kind::kCycle, Format(u"the group '%s' contains itself, last through '%s'",
                                    Shown(nested->name), Shown(group.name)));
      } else if (!finished.contains(nested)) {
        on_path.insert(nested);
        path.push_back({nested, 0});
      }
    }
  }
}

const AuthzGroup* AuthzGroups::Find(std::string_view name) const {
  const auto found = by_name_.find(name);
  return found == by_name_.end() ? nullptr : found->second;
}

int AuthzGroups::NumberOf(std::string_view member) const {
  const auto found = numbers_.find(member);
  return found == numbers_.end() ? -1 : found->second;
}

const GroupReach* AuthzGroups::Reach(std::string_view name) const {
  const AuthzGroup* const start = Find(name);
  if (!start) return nullptr;
  std::unique_ptr<GroupReach>& reach = reaches_[start->name];
  if (reach) return reach.get();
  reach = std::make_unique<GroupReach>();
  reach->numbers.resize(numbers_.size());
  reach->steps.push_back({start, -1});
  std::set<const AuthzGroup*> seen{start};
  for (std::size_t i = 0; i < reach->steps.size(); ++i) {
    const int step = static_cast<int>(i);
    const AuthzGroup& group = *reach->steps[i].group;
    for (std::size_t m = 0; m < group.members.size(); ++m) {
      const int number = group.numbers[m];
      if (group.members[m].front() == '@') {
        const AuthzGroup* const nested = Find(group.members[m].substr(1));
        if (nested && seen.insert(nested).second) reach->steps.push_back({nested, step});
      } else if (!reach->numbers[number]) {
        reach->numbers[number] = true;
        reach->members.push_back({number, step});
      }
    }
  }
  std::ranges::sort(reach->members, {}, &GroupReach::Member::number);
  return reach.get();
}

}  // namespace kelvarion::access
