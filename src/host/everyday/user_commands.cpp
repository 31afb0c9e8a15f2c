#include <memory>

#include "host/commands.h"
#include "host/everyday/account_commands.h"
#include "host/everyday/requests.h"

namespace kelvarion::host {
namespace {

constexpr const char* kClass = "Kelvarion_User";

std::string NewPassword(const std::string& name) {
  return ReadPassword("New password for " + name + ": ", Typed::kTwice);
}

Outcome Create(Session& session, const std::string& name) {
  return Call(session, kClass, "Create", {"Name=" + name, "Password=" + NewPassword(name)});
}

// The method itself leaves a user that does not exist alone without a word.
Outcome SetPassword(Session& session, const std::string& name) {
  const std::string path = ObjectPath(kClass, {{"Name", name}});
  Outcome found = Get(session, path);
  if (Failed(found.status)) return found;
  return Call(session, path, "SetPassword", {"Password=" + NewPassword(name)});
}

Outcome Remove(Session& session, const std::string& name) {
  return Call(session, kClass, "Delete", {"Name=" + name});
}

}  // namespace

void AddUserCommands(CLI::App& app, Command& chosen) {
  CLI::App* const user =
      app.add_subcommand("user", "List, create and remove users, change their passwords");
  user->require_subcommand(1);
  user->footer(
      "Users count while the server uses Subversion authentication.\n"
      "A password is asked for on the terminal, or read as one line of the standard input.\n"
      "Examples:\n  kelvarionctl user create alice\n"
      "  pwgen 20 1 | tee alice.txt | kelvarionctl user password alice");
  AddCommand(*user, "list", "Show all users", chosen,
             [](Session& session) { return ListNames(session, kClass); });
  const auto add = [&](const char* verb, const char* description,
                       Outcome (*run)(Session&, const std::string&)) {
    const auto name = std::make_shared<std::string>();
    AddCommand(*user, verb, description, chosen,
               [name, run](Session& session) { return run(session, *name); })
        ->add_option("NAME", *name, "Name of the user")
        ->required();
  };
  add("create", "Create a user; asks for the password", Create);
  add("password", "Give a user a new password; asks for it", SetPassword);
  add("remove", "Delete a user, also from all groups and rules", Remove);
}

}  // namespace kelvarion::host
