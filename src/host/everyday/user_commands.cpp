#include "host/commands.h"
#include "host/everyday/account_commands.h"
#include "host/everyday/requests.h"

namespace kelvarion::host {
namespace {

constexpr const char* kClass = "Kelvarion_User";

struct UserWords {
  std::string name;
  bool yes = false;
};

std::string NewPassword(const std::string& name) {
  return ReadPassword("New password for " + name + ": ", Typed::kTwice);
}

Outcome Create(Session& session, const UserWords& words) {
  return Call(session, kClass, "Create",
              {"Name=" + words.name, "Password=" + NewPassword(words.name)});
}

// The method itself leaves a user that does not exist alone without a word.
Outcome SetPassword(Session& session, const UserWords& words) {
  const std::string path = ObjectPath(kClass, {{"Name", words.name}});
  Outcome found = Get(session, path);
  if (Failed(found.status)) return found;
  return Call(session, path, "SetPassword", {"Password=" + NewPassword(words.name)});
}

Outcome Remove(Session& session, const UserWords& words) {
  Confirm("Delete user '" + words.name + "', also from all groups and rules?", words.yes);
  return Call(session, kClass, "Delete", {"Name=" + words.name});
}

}  // namespace

void AddUserCommands(CLI::App& app, Command& chosen) {
  CLI::App* const user =
      AddGroup(app, "user", "List, create and remove users, change their passwords");
  user->footer(
      "Users count while the server uses Subversion authentication.\n"
      "A password is asked for on the terminal, or read as one line of the standard input.\n"
      "Examples:\n  kelvarionctl user create alice\n"
      "  pwgen 20 1 | tee alice.txt | kelvarionctl user password alice");
  AddCommand(*user, "list", "Show all users", chosen,
             [](Session& session) { return ListNames(session, kClass); });
  const auto add = [&](const char* verb, const char* description,
                       Outcome (*run)(Session&, const UserWords&)) {
    const auto [command, words] = AddCommand(*user, verb, description, chosen, run);
    command->add_option("NAME", words->name, "Name of the user")->required();
    return std::pair(command, words);
  };
  add("create", "Create a user; asks for the password", Create);
  add("password", "Give a user a new password; asks for it", SetPassword);
  const auto [remove, removed] =
      add("remove", "Delete a user, also from all groups and rules", Remove);
  remove->add_flag("--yes", removed->yes, "Do not ask");
}

}  // namespace kelvarion::host
