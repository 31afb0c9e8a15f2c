#include "access/groups_file.h"

#include <algorithm>
#include <set>

#include "access/authz_files.h"
#include "errors/exception.h"
#include "svn/atomic_file.h"

namespace kelvarion::access {
namespace {

const std::u16string kSection = u"groups";
constexpr std::u16string_view kSeparators = u", \t";

std::vector<std::u16string> NestedGroups(const IniDocument& groups, const std::u16string& name) {
  std::vector<std::u16string> nested;
  const std::u16string* text = FindGroup(groups, name);
  if (!text) return nested;
  for (Account& member : ParseMembers(*text)) {
    if (member.kind == AccountKind::SubversionGroup) nested.push_back(std::move(member.name));
  }
  return nested;
}

}  // namespace

bool GroupsFileExists(const ServerContext& context, const svn::Pool& pool) {
  return svn::ReadFileIfPresent(GroupsFile(context), pool).has_value();
}

IniDocument ReadGroupsFile(const ServerContext& context, const svn::Pool& pool) {
  IniDocument groups;
  ReadIniFile(GroupsFile(context), groups, pool);
  return groups;
}

void WriteGroupsFile(const ServerContext& context, const IniDocument& groups,
                     const svn::Pool& pool) {
  WriteIniFile(GroupsFile(context), groups, kAuthorizationHeader, pool);
}

const std::u16string* FindGroup(const IniDocument& groups, const std::u16string& name) {
  const auto section = groups.find(kSection);
  if (section == groups.end()) return nullptr;
  const auto group = section->second.find(name);
  return group == section->second.end() ? nullptr : &group->second;
}

IniSection& GroupsSection(IniDocument& groups) { return groups[kSection]; }

std::vector<Account> ParseMembers(std::u16string_view text) {
  std::vector<Account> members;
  for (;;) {
    text.remove_prefix(std::min(text.find_first_not_of(kSeparators), text.size()));
    if (text.empty()) return members;
    const std::u16string member(text.substr(0, text.find_first_of(kSeparators)));
    text.remove_prefix(member.size());
    members.push_back(member.front() == u'@' ? Account::Group(member.substr(1))
                                             : Account::User(member));
  }
}

std::u16string FormatMembers(const std::vector<Account>& members) {
  std::u16string text;
  for (const Account& member : members) {
    if (&member != &members.front()) text += u',';
    switch (member.kind) {
      case AccountKind::SubversionUser:
        break;
      case AccountKind::SubversionGroup:
        text += u'@';
        break;
      default:
        throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS,
                           u"Only users and groups can be members of a group");
    }
    text += member.name;
  }
  return text;
}

bool RemoveMember(IniDocument& groups, const Account& account) {
  bool changed = false;
  for (auto& [name, text] : GroupsSection(groups)) {
    std::vector<Account> members = ParseMembers(text);
    if (std::erase(members, account) == 0) continue;
    text = FormatMembers(members);
    changed = true;
  }
  return changed;
}

// Depth first, with a stack of its own: groups may be nested deeper than a thread's stack reaches.
bool IsInCycle(const IniDocument& groups, const std::u16string& start) {
  struct Step {
    std::u16string group;
    std::vector<std::u16string> pending;
  };
  std::set<std::u16string> on_path{start};
  std::set<std::u16string> finished;
  std::vector<Step> path{{start, NestedGroups(groups, start)}};
  while (!path.empty()) {
    Step& step = path.back();
    if (step.pending.empty()) {
      on_path.erase(step.group);
      finished.insert(step.group);
      path.pop_back();
      continue;
    }
    const std::u16string next = std::move(step.pending.back());
    step.pending.pop_back();
    if (on_path.contains(next)) return true;
    if (finished.contains(next)) continue;
    on_path.insert(next);
    path.push_back({next, NestedGroups(groups, next)});
  }
  return false;
}

}  // namespace kelvarion::access
