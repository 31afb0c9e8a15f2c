// Groups, a line each as the groups file has them: members survive being written, leave when they
// are removed, and cycles are found.
#include <set>

#include "access/groups_file.h"
#include "fuzz/fuzz.h"

using namespace kelvarion;
using namespace kelvarion::access;

namespace {

IniDocument Read(std::string_view lines) {
  IniDocument groups;
  while (!lines.empty()) {
    const std::u16string line = fuzz::Text(fuzz::TakeLine(lines));
    const std::size_t sign = std::min(line.find(u'='), line.size());
    GroupsSection(groups)[line.substr(0, sign)] = line.substr(std::min(sign + 1, line.size()));
  }
  return groups;
}

// Whether a group is reached from itself, found by growing the set of all that is reached.
bool ReachesItself(const IniDocument& groups, const std::u16string& start) {
  std::set<std::u16string> reached;
  std::vector<std::u16string> pending{start};
  while (!pending.empty()) {
    const std::u16string* const text = FindGroup(groups, pending.back());
    pending.pop_back();
    for (const Account& member : ParseMembers(text ? *text : u""))
      if (member.kind == AccountKind::SubversionGroup && reached.insert(member.name).second)
        pending.push_back(member.name);
  }
  return reached.contains(start);
}

}  // namespace

void kelvarion::fuzz::Target(std::string_view bytes) {
  IniDocument groups = Read(bytes);
  const IniSection section = GroupsSection(groups);
  for (const auto& [name, text] : section) {
    const std::vector<Account> members = ParseMembers(text);
    fuzz::Expect(ParseMembers(FormatMembers(members)) == members, "members survive being written");
    // A cycle that is reached is told just as one that leads back to the start.
    fuzz::Expect(IsInCycle(groups, name) || !ReachesItself(groups, name), "a cycle is found");
  }
  if (section.empty()) return;
  const std::vector<Account> members = ParseMembers(section.begin()->second);
  if (members.empty()) return;
  fuzz::Expect(RemoveMember(groups, members.front()), "a member can be removed");
  fuzz::Expect(!RemoveMember(groups, members.front()), "and is then gone from all groups");
}
