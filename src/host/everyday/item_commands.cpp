#include "host/commands.h"
#include "host/everyday/repository_commands.h"
#include "host/everyday/requests.h"
#include "host/table.h"
#include "host/text.h"

namespace kelvarion::host {
namespace {

constexpr const char* kClass = "PS_SvnRepositoryItem";

struct ItemWords {
  std::string repository;
  std::vector<std::string> paths;
  std::string message;
  bool yes = false;
};

std::vector<std::u16string> Words(const std::vector<std::string>& texts) {
  std::vector<std::u16string> words;
  for (const std::string& text : texts) words.push_back(ParseWord(text));
  return words;
}

Outcome List(Session& session, const ItemWords& words) {
  ComPtr<IWbemContext> context = session.context();
  if (!context) context = MakeContext();
  if (!words.repository.empty())
    context->SetValue(u"QueryOption_RepositoryName", 0,
                      Variant::FromString(ParseWord(words.repository)));
  if (!words.paths.empty())
    context->SetValue(u"QueryOption_ParentPath", 0, Variant::FromStrings(Words(words.paths)));
  Outcome outcome =
      FromReply(session.target().Enumerate(Utf16(kClass), context.Get(), session.observer));
  Table table{{"REPOSITORY", "PATH"}, {}};
  for (const Json& item : outcome.objects)
    table.rows.push_back({item.at("Repository").get<std::string>(),
                          item.at("Path").get<std::string>() + (item.at("Type") == 1 ? "/" : "")});
  if (Succeeded(outcome.status))
    outcome.text = table.rows.empty() ? "Nothing there.\n" : table.Render(2);
  return outcome;
}

std::vector<std::string> Parameters(const ItemWords& words) {
  Words(words.paths);  // Nothing but UTF-8 can stand in JSON.
  std::vector<std::string> parameters{"Repository=" + words.repository,
                                      "Path:=" + Json(words.paths).dump()};
  if (!words.message.empty()) parameters.push_back("CommitMessage=" + words.message);
  return parameters;
}

Outcome Create(Session& session, const ItemWords& words) {
  std::vector<std::string> parameters = Parameters(words);
  parameters.emplace_back("Type=1");
  Outcome outcome = Call(session, kClass, "CreateByRepositoryName", parameters);
  TakeResult(outcome);
  ShowTable(outcome, {{"PATH", "Path"}, {"URL", "URL"}}, "");
  return outcome;
}

Outcome Remove(Session& session, const ItemWords& words) {
  Confirm("Delete " + std::to_string(words.paths.size()) + " item(s) from the head of '" +
              words.repository + "'? Earlier revisions keep them.",
          words.yes);
  return Call(session, kClass, "RemoveByRepositoryName", Parameters(words));
}

}  // namespace

void AddItemCommands(CLI::App& app, Command& chosen) {
  CLI::App* const group = AddGroup(app, "item", "Show and change the folders in repositories");
  const auto add = [&](const char* name, const char* description,
                       Outcome (*run)(Session&, const ItemWords&)) {
    return AddCommand(*group, name, description, chosen, run);
  };
  const auto add_commit = [&](const char* name, const char* description,
                              Outcome (*run)(Session&, const ItemWords&)) {
    const auto [sub, words] = add(name, description, run);
    sub->add_option("REPOSITORY", words->repository, "Name of the repository")->required();
    sub->add_option("PATH", words->paths, "Paths from the root, /trunk/src")->required();
    sub->add_option("-m,--message", words->message, "Log message (default: a list of the paths)");
    return std::pair(sub, words);
  };

  const auto [list, listed] = add("list", "Show what folders hold in the newest revision", List);
  list->add_option("REPOSITORY", listed->repository, "Name of the repository (default: all)");
  list->add_option("PATH", listed->paths, "Folders to list (default: /)");
  add_commit("create", "Create folders by one commit", Create)
      .first->footer("Example:\n  kelvarionctl item create demo /trunk /branches /tags");
  const auto [remove, removed] =
      add_commit("remove", "Delete files and folders by one commit", Remove);
  remove->add_flag("--yes", removed->yes, "Do not ask");
}

}  // namespace kelvarion::host
