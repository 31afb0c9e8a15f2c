#include "host/commands.h"
#include "host/everyday/account_commands.h"
#include "host/everyday/requests.h"

namespace kelvarion::host {
namespace {

constexpr const char* kClass = "Kelvarion_Group";
constexpr const char* kMemberClass = "Kelvarion_GroupMember";

struct GroupWords {
  std::string group;
  std::vector<std::string> members;  // Users, and groups with "@" in front.
  bool yes = false;
};

// Nothing else can stand in JSON.
void RequireUtf8(const std::vector<std::string>& words) {
  for (const std::string& word : words) ParseWord(word);
}

Outcome Create(Session& session, const GroupWords& words) {
  RequireUtf8(words.members);
  Json paths = Json::array();
  for (const std::string& member : words.members)
    paths.push_back(member.starts_with('@') ? ObjectPath(kClass, {{"Name", member.substr(1)}})
                                            : ObjectPath("Kelvarion_User", {{"Name", member}}));
  return Call(session, kClass, "Create", {"Name=" + words.group, "Members:=" + paths.dump()});
}

Outcome Remove(Session& session, const GroupWords& words) {
  Confirm("Delete group '" + words.group + "', also from all groups and rules?", words.yes);
  return Call(session, kClass, "Delete", {"Name=" + words.group});
}

Outcome ListMembers(Session& session, const GroupWords& words) {
  const std::string path = ObjectPath(kClass, {{"Name", words.group}});
  Outcome found = Get(session, path);
  if (Failed(found.status)) return found;
  Outcome outcome = Call(session, path, "GetMembers", {});
  if (Failed(outcome.status) || outcome.objects.empty()) return outcome;
  const Json members = outcome.objects.front().at("Members");
  outcome.objects.assign(members.begin(), members.end());
  outcome.text.clear();
  for (const Json& member : outcome.objects)
    outcome.text +=
        (member.at("__CLASS") == kClass ? "@" : "") + member.at("Name").get<std::string>() + "\n";
  return outcome;
}

Outcome Change(Session& session, const GroupWords& words, const char* method) {
  RequireUtf8(words.members);
  return Call(session, kMemberClass, method,
              {"Group=" + words.group, "Members:=" + Json(words.members).dump()});
}

Outcome AddMembers(Session& session, const GroupWords& words) {
  return Change(session, words, "Add");
}

Outcome RemoveMembers(Session& session, const GroupWords& words) {
  return Change(session, words, "Remove");
}

enum class Members { kNone, kOptional, kRequired };

std::pair<CLI::App*, GroupWords*> AddGroupCommand(CLI::App& parent, Command& chosen,
                                                  const char* name, const char* description,
                                                  Outcome (*run)(Session&, const GroupWords&),
                                                  Members members) {
  const auto [sub, words] = AddCommand(parent, name, description, chosen, run);
  sub->add_option("GROUP", words->group, "Name of the group, without @")->required();
  if (members != Members::kNone)
    sub->add_option("MEMBER", words->members, "Users, and groups with @ in front")
        ->required(members == Members::kRequired);
  return {sub, words};
}

}  // namespace

void AddGroupCommands(CLI::App& app, Command& chosen) {
  CLI::App* const group =
      AddGroup(app, "group", "List, create and remove groups, change their members");
  group->footer(
      "Groups count while the server uses Subversion authentication.\n"
      "Examples:\n  kelvarionctl group create developers alice bob\n"
      "  kelvarionctl group members add everybody @developers carol");
  AddCommand(*group, "list", "Show all groups", chosen,
             [](Session& session) { return ListNames(session, kClass); });
  AddGroupCommand(*group, chosen, "create", "Create a group", Create, Members::kOptional);
  const auto [remove, removed] =
      AddGroupCommand(*group, chosen, "remove", "Delete a group, also from all groups and rules",
                      Remove, Members::kNone);
  remove->add_flag("--yes", removed->yes, "Do not ask");
  CLI::App* const members = AddGroup(*group, "members", "Show or change who is in a group");
  AddGroupCommand(*members, chosen, "list", "Show the members", ListMembers, Members::kNone);
  AddGroupCommand(*members, chosen, "add", "Add members; the others stay", AddMembers,
                  Members::kRequired);
  AddGroupCommand(*members, chosen, "remove", "Remove members; the others stay", RemoveMembers,
                  Members::kRequired);
}

}  // namespace kelvarion::host
