// replication start, stop, add, create, promote, downgrade, relocate, sync, suspend, resume, check,
// seed, share, convert: masters and slaves by PS_SvnRepository and Kelvarion_Repository.
#include "host/everyday/replication_commands.h"

#include "host/commands.h"
#include "host/everyday/requests.h"

namespace kelvarion::host {
namespace {

constexpr const char* kClass = "PS_SvnRepository";
constexpr const char* kClassicClass = "Kelvarion_Repository";
constexpr const char* kServicePath = "Kelvarion_OrmuService.Name=\"ormusvc\"";

struct ReplicationWords {
  std::string name;
  std::string server;
  std::string repository;  // The server's.
  std::string other;       // A path, or a type.
  std::vector<std::string> accounts;
  bool off = false;
};

std::string PathOf(const ReplicationWords& words) {
  return ObjectPath(kClass, {{"Name", words.name}});
}

std::string ClassicPathOf(const ReplicationWords& words) {
  return ObjectPath(kClassicClass, {{"Name", words.name}});
}

// The provider knows what a repository that is not named is called.
std::vector<std::string> WithMaster(const ReplicationWords& words,
                                    std::vector<std::string> parameters) {
  parameters.push_back("MasterServer=" + words.server);
  if (!words.repository.empty()) parameters.push_back("MasterRepository=" + words.repository);
  return parameters;
}

Outcome Make(Session& session, const std::vector<std::string>& parameters) {
  Outcome outcome = Call(session, kClass, "Create", parameters);
  TakeResult(outcome);
  if (!outcome.objects.empty())
    outcome.text = outcome.objects.front().at("URL").get<std::string>() + "\n";
  return outcome;
}

Outcome Create(Session& session, const ReplicationWords& words) {
  return Make(session, {"Name=" + words.name, "Type=1"});
}

Outcome Add(Session& session, const ReplicationWords& words) {
  return Make(session, WithMaster(words, {"Name=" + words.name, "Type=2"}));
}

Outcome Promote(Session& session, const ReplicationWords& words) {
  return Call(session, PathOf(words), "Switch", {"Role=0"});
}

Outcome Downgrade(Session& session, const ReplicationWords& words) {
  return Call(session, PathOf(words), "Switch", WithMaster(words, {"Role=1"}));
}

Outcome Relocate(Session& session, const ReplicationWords& words) {
  return Call(session, PathOf(words), "Set", WithMaster(words, {}));
}

Outcome Sync(Session& session, const ReplicationWords& words) {
  return Call(session, PathOf(words), "Sync", {});
}

Outcome Suspend(Session& session, const ReplicationWords& words) {
  return Call(session, PathOf(words), "Suspend", {});
}

Outcome Resume(Session& session, const ReplicationWords& words) {
  return Call(session, PathOf(words), "Resume", {});
}

Outcome Check(Session& session, const ReplicationWords& words) {
  Outcome outcome = Call(session, ClassicPathOf(words), "CheckReplicationConsistency", {});
  if (Succeeded(outcome.status)) outcome.text = words.name + ": the same as its master\n";
  return outcome;
}

Outcome Seed(Session& session, const ReplicationWords& words) {
  const std::filesystem::path path = PlaceIn(words.other, words.name);
  Outcome outcome = Call(session, ClassicPathOf(words), "ExportReplicationSeed",
                         {"DestinationPath=" + path.string()});
  if (Succeeded(outcome.status)) outcome.text = path.string() + "\n";
  return outcome;
}

Outcome Share(Session& session, const ReplicationWords& words) {
  std::vector<std::string> parameters{Switch("Enabled", !words.off)};
  if (!words.accounts.empty()) parameters.push_back("Replicators:=" + Json(words.accounts).dump());
  return Call(session, PathOf(words), "SetReplication", parameters);
}

Outcome Convert(Session& session, const ReplicationWords& words) {
  if (words.other != "master" && words.other != "plain")
    throw UsageError("A repository is converted to 'master' or 'plain'.");
  return Call(session, PathOf(words), "Convert",
              {words.other == "master" ? "TargetType=1" : "TargetType=0"});
}

using Run = Outcome (*)(Session&, const ReplicationWords&);
using Added = std::pair<CLI::App*, ReplicationWords*>;

Added AddNamed(CLI::App& group, Command& chosen, const char* name, const char* description,
               Run run) {
  const auto [sub, words] = AddCommand(group, name, description, chosen, run);
  sub->add_option("NAME", words->name, "Name of the repository here")->required();
  return {sub, words};
}

CLI::App* AddFollowing(CLI::App& group, Command& chosen, const char* name, const char* description,
                       Run run, const char* when_not_named) {
  const auto [sub, words] = AddNamed(group, chosen, name, description, run);
  sub->add_option("SERVER", words->server, "The master's server, host[:port]")->required();
  sub->add_option("REPOSITORY", words->repository,
                  std::string("Its name there (default: ") + when_not_named + ")");
  return sub;
}

void AddMasters(CLI::App& group, Command& chosen) {
  AddNamed(group, chosen, "create", "Make an empty master", Create);
  const auto [share, shared] = AddNamed(
      group, chosen, "share", "Say who may replicate a master besides the partners' group", Share);
  share->add_option("ACCOUNT", shared->accounts,
                    "Accounts of this machine, in place of those named before");
  share->add_flag("--off", shared->off, "Let nobody replicate it");
  const auto [convert, converted] =
      AddNamed(group, chosen, "convert",
               "Make a repository a master or a plain one; both services must be stopped", Convert);
  convert->add_option("TYPE", converted->other, "master or plain")->required();
  const auto [seed, exported] =
      AddNamed(group, chosen, "seed", "Copy a master to a folder that becomes its slave", Seed);
  seed->add_option("DIR", exported->other,
                   "Folder to put the slave into, under the name of the master")
      ->required();
  seed->footer(
      "Carry DIR/NAME to the other server and bring it in there with: kelvarionctl repository\n"
      "import DIR/NAME. Ctrl-C cancels; nothing is left then.");
}

void AddService(CLI::App& group, Command& chosen) {
  const auto add = [&](const char* name, const char* description, const char* method) {
    AddCommand(group, name, description, chosen,
               [method](Session& session) { return Call(session, kServicePath, method, {}); });
  };
  add("start", "Start the replication service, which slaves need", "StartService");
  add("stop", "Stop the replication service; it stops in the background", "StopService");
}

void AddSlaves(CLI::App& group, Command& chosen) {
  AddFollowing(group, chosen, "add", "Make a slave of a master on another server", Add,
               "the same as here")
      ->footer(
          "Say before how the server is reached: kelvarionctl replication trust SERVER.\n"
          "Example:\n  kelvarionctl replication add demo svn.example.com");
  AddNamed(group, chosen, "promote", "Make a slave a master, with the revisions it has", Promote);
  AddFollowing(group, chosen, "downgrade", "Make a master the slave of another one", Downgrade,
               "the same as here");
  AddFollowing(group, chosen, "relocate", "Let a slave follow another master", Relocate,
               "the same as before");
  AddNamed(group, chosen, "sync", "Wait until a slave has all that its master has", Sync);
  AddNamed(group, chosen, "suspend", "Stop replicating a master or a slave for a while", Suspend);
  AddNamed(group, chosen, "resume", "Replicate again", Resume);
  AddNamed(group, chosen, "check", "Compare every revision of a slave with its master", Check);
}

}  // namespace

void AddReplicationCommands(CLI::App& app, Command& chosen) {
  CLI::App* const group =
      AddGroup(app, "replication", "Follow masters on other servers, and let slaves follow");
  AddReplicationStatus(*group, chosen);
  AddService(*group, chosen);
  AddTrustCommands(*group, chosen);
  AddMasters(*group, chosen);
  AddSlaves(*group, chosen);
}

}  // namespace kelvarion::host
