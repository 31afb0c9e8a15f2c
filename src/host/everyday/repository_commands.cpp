#include "host/everyday/repository_commands.h"

#include "host/commands.h"
#include "host/everyday/requests.h"

namespace kelvarion::host {
namespace {

constexpr const char* kClass = "PS_SvnRepository";
constexpr const char* kBackupClass = "Kelvarion_RepositoryBackup";

struct RepositoryWords {
  std::string name;
  std::string other;  // A new name, or a path.
  bool yes = false;
};

std::string PathOf(const RepositoryWords& words) {
  return ObjectPath(kClass, {{"Name", words.name}});
}

Outcome List(Session& session) {
  Outcome outcome = Enumerate(session, kClass);
  ShowTable(
      outcome,
      {{"NAME", "Name"}, {"REVISIONS", "Revisions"}, {"FORMAT", "FormatNumber"}, {"URL", "URL"}},
      "No repositories.\n");
  return outcome;
}

Outcome OrNoRepository(Outcome outcome, const RepositoryWords& words) {
  return OrMissing(std::move(outcome),
                   "There is no repository with the name '" + words.name + "'.");
}

Outcome Show(Session& session, const RepositoryWords& words) {
  return OrNoRepository(Get(session, PathOf(words)), words);
}

Outcome Create(Session& session, const RepositoryWords& words) {
  Outcome outcome = Call(session, kClass, "Create", {"Name=" + words.name, "Type=0"});
  TakeResult(outcome);
  if (!outcome.objects.empty())
    outcome.text = outcome.objects.front().at("URL").get<std::string>() + "\n";
  return outcome;
}

Outcome Remove(Session& session, const RepositoryWords& words) {
  Confirm("Delete repository '" + words.name + "' with its history, hooks and rules for good?",
          words.yes);
  return Call(session, PathOf(words), "Remove", {});
}

Outcome Rename(Session& session, const RepositoryWords& words) {
  return Call(session, PathOf(words), "Rename", {"NewName=" + words.other});
}

Outcome Import(Session& session, const RepositoryWords& words) {
  std::vector<std::string> parameters{"Path=" + Absolute(words.other).string()};
  if (!words.name.empty()) parameters.push_back("DestinationName=" + words.name);
  Outcome outcome = Call(session, kClass, "Import", parameters);
  TakeResult(outcome);
  if (!outcome.objects.empty())
    outcome.text = outcome.objects.front().at("Name").get<std::string>() + ": " +
                   outcome.objects.front().at("Revisions").dump() + " revisions\n";
  return outcome;
}

Outcome Backup(Session& session, const RepositoryWords& words) {
  const std::filesystem::path path = PlaceIn(words.other, words.name);
  Outcome outcome =
      Call(session, kBackupClass, "Create", {"Name=" + words.name, "Path=" + path.string()});
  if (Succeeded(outcome.status)) outcome.text = path.string() + "\n";
  return outcome;
}

Outcome Restore(Session& session, const RepositoryWords& words) {
  const std::filesystem::path path = Absolute(words.other);
  const std::string name = words.name.empty() ? path.filename().string() : words.name;
  return Call(session, kBackupClass, "Restore", {"Path=" + path.string(), "Name=" + name});
}

Outcome Verify(Session& session, const RepositoryWords& words) {
  Outcome outcome = Call(session, PathOf(words), "Test", {});
  TakeResult(outcome);
  if (outcome.objects.empty()) return outcome;
  const Json& result = outcome.objects.front();
  outcome.text = words.name + ": " + result.at("Details").get<std::string>() + "\n";
  if (result.at("Summary") != 0) outcome.exit_code = kExitFailed;
  return outcome;
}

Outcome Upgrade(Session& session, const RepositoryWords& words) {
  return OrNoRepository(
      Call(session, ObjectPath("Kelvarion_Repository", {{"Name", words.name}}), "Upgrade", {}),
      words);
}

Outcome Measure(Session& session, const RepositoryWords& words) {
  Outcome outcome = Call(session, PathOf(words), "Measure", {});
  TakeResult(outcome);
  ShowTable(outcome,
            {{"NAME", "Name"},
             {"REVISIONS", "Revisions"},
             {"BYTES", "Size"},
             {"ON DISK", "SizeOnDisk"},
             {"FILES", "FilesOnDisk"},
             {"FOLDERS", "FoldersOnDisk"}},
            "");
  return outcome;
}

using Run = Outcome (*)(Session&, const RepositoryWords&);

// A command whose first word is a repository.
std::pair<CLI::App*, RepositoryWords*> AddNamed(CLI::App& group, Command& chosen, const char* name,
                                                const char* description, Run run) {
  const auto [sub, words] = AddCommand(group, name, description, chosen, run);
  sub->add_option("NAME", words->name, "Name of the repository")->required();
  return {sub, words};
}

void AddChanges(CLI::App& group, Command& chosen) {
  const auto [remove, removed] =
      AddNamed(group, chosen, "remove", "Delete a repository for good", Remove);
  remove->add_flag("--yes", removed->yes, "Do not ask");

  const auto [rename, renamed] = AddNamed(
      group, chosen, "rename", "Give a repository another name; its address changes", Rename);
  rename->add_option("NEW", renamed->other, "The new name")->required();

  const auto [import, imported] = AddCommand(
      group, "import", "Make a repository from a dump file or by copying another", chosen, Import);
  import->add_option("PATH", imported->other, "A dump, plain or gzip, or a repository's folder")
      ->required();
  import->add_option("NAME", imported->name, "Its new name (default: as the file or folder)");
  import->footer(
      "Ctrl-C cancels; nothing of the new repository is left then.\nExamples:\n"
      "  kelvarionctl repository import project.dump.gz project\n"
      "  kelvarionctl repository import /srv/svn/old");
}

void AddBackups(CLI::App& group, Command& chosen) {
  const auto [backup, kept] = AddNamed(
      group, chosen, "backup", "Copy a repository that may be in use, and verify the copy", Backup);
  backup
      ->add_option("DIR", kept->other,
                   "Folder to put the copy into, under the name of the repository")
      ->required();
  backup->footer(
      "The copy holds revisions, hooks, rules and settings. Example:\n"
      "  kelvarionctl repository backup demo /var/backups/svn");

  const auto [restore, restored] =
      AddCommand(group, "restore", "Make a repository from a backup; never over an existing one",
                 chosen, Restore);
  restore->add_option("DIR", restored->other, "The backup")->required();
  restore->add_option("NAME", restored->name, "Its new name (default: as the folder)");
}

}  // namespace

void AddRepositoryCommands(CLI::App& app, Command& chosen) {
  CLI::App* const group =
      AddGroup(app, "repository", "Create, import, verify and delete repositories");
  AddCommand(*group, "list", "Show all repositories", chosen, List);
  AddNamed(*group, chosen, "show", "Show all that is known of a repository", Show);
  AddNamed(*group, chosen, "create", "Create an empty repository that nobody may use yet", Create);
  AddChanges(*group, chosen);
  AddBackups(*group, chosen);
  AddNamed(*group, chosen, "verify", "Check every revision; exit code 1 when one is corrupt",
           Verify);
  AddNamed(*group, chosen, "upgrade", "Bring the storage to the newest format", Upgrade);
  AddNamed(*group, chosen, "measure", "Show how much space a repository takes", Measure);
}

}  // namespace kelvarion::host
