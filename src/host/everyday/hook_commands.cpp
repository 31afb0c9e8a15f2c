#include <array>

#include "host/commands.h"
#include "host/everyday/repository_commands.h"
#include "host/everyday/requests.h"
#include "host/text.h"
#include "platform/text/compare.h"
#include "platform/text/encoding.h"

namespace kelvarion::host {
namespace {

constexpr const char* kClass = "PS_SvnRepositoryHook";
// By their numbers.
constexpr std::array kHooks{"PostCommit",       "PostLock",  "PostRevPropChange",
                            "PostUnlock",       "PreCommit", "PreLock",
                            "PreRevPropChange", "PreUnlock", "StartCommit"};
constexpr const char* kHookHelp =
    "StartCommit, PreCommit, PostCommit, PreLock, PostLock, PreUnlock, PostUnlock, "
    "PreRevPropChange or PostRevPropChange; also as pre-commit";

struct HookWords {
  std::string repository;
  std::string hook;
  std::string file = "-";
  bool force = false;
  bool yes = false;
};

// Letters only, so that pre-commit is PreCommit.
std::string Letters(const std::string& word) {
  std::string letters;
  for (const char c : word)
    if (c != '-') letters += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return letters;
}

std::size_t NumberOf(const std::string& word) {
  for (std::size_t number = 0; number < kHooks.size(); ++number)
    if (Letters(kHooks[number]) == Letters(word)) return number;
  throw UsageError("There is no hook '" + word + "'; --help lists them.");
}

std::string PathOf(const HookWords& words) {
  return ObjectPath(kClass,
                    {{"Repository", words.repository}, {"TypeName", kHooks[NumberOf(words.hook)]}});
}

Outcome List(Session& session, const HookWords& words) {
  Outcome outcome = Enumerate(session, kClass);
  if (!words.repository.empty()) {
    std::erase_if(outcome.objects, [&](const Json& hook) {
      return !platform::EqualIgnoreCase(Utf16(hook.at("Repository").get<std::string>()),
                                        Utf16(words.repository));
    });
  }
  ShowTable(outcome, {{"REPOSITORY", "Repository"}, {"HOOK", "TypeName"}, {"SCRIPT", "Path"}},
            "No hooks.\n");
  return outcome;
}

Outcome Show(Session& session, const HookWords& words) {
  Outcome outcome =
      OrMissing(Get(session, PathOf(words)),
                "The repository '" + words.repository + "' is not there or has no such hook.");
  if (!outcome.objects.empty())
    outcome.text = outcome.objects.front().at("Content").get<std::string>();
  return outcome;
}

Outcome Set(Session& session, const HookWords& words) {
  const std::string number = std::to_string(NumberOf(words.hook));
  const std::string script = ReadInput(words.file);
  std::u16string text;
  if (!platform::Utf8ToUtf16(script, text))
    throw UsageError(
        "The script is not valid UTF-8. Convert it first, such as: iconv -f latin1 -t utf-8 FILE");
  Outcome outcome = Call(session, kClass, "AddByRepositoryName",
                         {"Repository=" + words.repository, "Type=" + number, "Content=" + script,
                          Switch("Force", words.force)});
  TakeResult(outcome);
  if (outcome.status == WBEM_E_ALREADY_EXISTS)
    return Failure(outcome.status,
                   Utf16("'" + words.repository + "' has that hook; --force overwrites it."));
  if (!outcome.objects.empty())
    outcome.text = outcome.objects.front().at("Path").get<std::string>() + "\n";
  return outcome;
}

Outcome Remove(Session& session, const HookWords& words) {
  const std::string path = PathOf(words);
  Confirm("Delete the script of hook " + words.hook + " in '" + words.repository + "'?", words.yes);
  return Call(session, path, "Remove", {});
}

}  // namespace

void AddHookCommands(CLI::App& app, Command& chosen) {
  CLI::App* const group = AddGroup(app, "hook", "Show and change the repositories' hooks");
  const auto add = [&](const char* name, const char* description,
                       Outcome (*run)(Session&, const HookWords&)) {
    return AddCommand(*group, name, description, chosen, run);
  };
  const auto add_for_hook = [&](const char* name, const char* description,
                                Outcome (*run)(Session&, const HookWords&)) {
    const auto [sub, words] = add(name, description, run);
    sub->add_option("REPOSITORY", words->repository, "Name of the repository")->required();
    sub->add_option("HOOK", words->hook, kHookHelp)->required();
    return std::pair(sub, words);
  };

  const auto [list, listed] = add("list", "Show which hooks have a script", List);
  list->add_option("REPOSITORY", listed->repository, "Only the hooks of this repository");
  add_for_hook("show", "Print the script of a hook", Show);
  const auto [set, set_words] = add_for_hook("set", "Give a hook its script", Set);
  set->add_option("FILE", set_words->file, "The script (default: standard input)");
  set->add_flag("--force", set_words->force, "Overwrite a script that exists");
  set->footer(
      "The first line names the program that runs the script, such as #!/bin/sh.\nExample:\n"
      "  kelvarionctl hook set demo pre-commit check.sh");
  const auto [remove, removed] = add_for_hook("remove", "Delete the script of a hook", Remove);
  remove->add_flag("--yes", removed->yes, "Do not ask");
}

}  // namespace kelvarion::host
