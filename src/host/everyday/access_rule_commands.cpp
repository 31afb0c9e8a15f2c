// access list, add, set, remove: single rules by Kelvarion_AccessRule, which is the same for both
// ways the server knows its users and changes each rule in one step.
#include <array>

#include "host/commands.h"
#include "host/everyday/access_commands.h"
#include "host/table.h"
#include "host/text.h"

namespace kelvarion::host {
namespace {

constexpr const char* kClass = "Kelvarion_AccessRule";
constexpr std::array kLevels = {"none", "read", "write"};

constexpr const char* kAccountHelp =
    "A user, @GROUP or '*' for everybody; while the server uses Windows authentication an account "
    "of the machine by its name or SID";
constexpr const char* kLevelHelp = "none, read or write (also 0, 1, 2, r, rw)";

// With --global the rule is for all repositories, and only the words after the place are given.
struct RuleWords {
  std::string repository;
  std::string path;
  std::string account;
  std::string level;
  bool global = false;
  bool force = false;
};

std::string NumberOfLevel(const std::string& word) {
  for (std::size_t level = 0; level < kLevels.size(); ++level) {
    const std::string number = std::to_string(level);
    if (word == kLevels[level] || word == number) return number;
  }
  if (word == "r") return "1";
  if (word == "rw") return "2";
  throw UsageError("LEVEL is none, read or write, and not '" + word + "'.");
}

// The words in their places, "*" and "/" standing for all repositories.
RuleWords Placed(const RuleWords& given, bool with_level) {
  RuleWords words = given;
  if (given.global) {
    if (!given.account.empty() || (!with_level && !given.path.empty()))
      throw UsageError("--global goes without REPOSITORY and PATH.");
    words.account = given.repository;
    words.level = given.path;
    words.repository = "*";
    words.path = "/";
  }
  if (words.account.empty() || (with_level && words.level.empty()))
    throw UsageError(std::string("Missing words: ") + (given.global ? "" : "REPOSITORY PATH ") +
                     "ACCOUNT" + (with_level ? " LEVEL" : "") + "; --help tells more.");
  return words;
}

// SIDs are shown where there are any.
std::string RuleTable(const std::vector<Json>& rules) {
  Table table{{"REPOSITORY", "PATH", "ACCOUNT", "ACCESS", "SID"}, {}};
  bool sids = false;
  for (const Json& rule : rules) {
    const auto text = [&](const char* name) { return rule.at(name).get<std::string>(); };
    const std::size_t level = rule.at("Access").get<std::size_t>();
    sids = sids || text("Account") != text("AccountName");
    table.rows.push_back({text("Repository"), text("Path"), text("AccountName"),
                          level < kLevels.size() ? kLevels[level] : std::to_string(level),
                          text("Account")});
  }
  return table.Render(sids ? 5 : 4);
}

// What the method returned, taken out of its out-parameters.
void ShowRules(Outcome& outcome, const char* parameter) {
  if (Failed(outcome.status) || outcome.objects.empty()) return;
  const Json result = outcome.objects.front().at(parameter);
  outcome.objects.clear();
  if (result.is_array())
    outcome.objects.assign(result.begin(), result.end());
  else
    outcome.objects.push_back(result);
  outcome.text = outcome.objects.empty() ? "No rules.\n" : RuleTable(outcome.objects);
}

Outcome ListExplicit(Session& session, const std::string& repository) {
  ComPtr<IWbemContext> context = session.context();
  if (!repository.empty()) {
    if (!context) context = MakeContext();
    context->SetValue(u"QueryOption_RepositoryName", 0, Variant::FromString(ParseWord(repository)));
  }
  Outcome outcome =
      FromReply(session.target().Enumerate(Utf16(kClass), context.Get(), session.observer));
  if (Succeeded(outcome.status))
    outcome.text = outcome.objects.empty() ? "No rules.\n" : RuleTable(outcome.objects);
  return outcome;
}

Outcome List(Session& session, const RuleWords& words) {
  if (words.global) {
    if (!words.repository.empty()) throw UsageError("--global goes without REPOSITORY and PATH.");
    return ListExplicit(session, "*");
  }
  if (words.path.empty()) return ListExplicit(session, words.repository);
  Outcome outcome =
      Call(session, kClass, "Select", {"Repository=" + words.repository, "Path=" + words.path});
  ShowRules(outcome, "Rules");
  return outcome;
}

Outcome Add(Session& session, const RuleWords& given) {
  const RuleWords words = Placed(given, true);
  Outcome outcome = Call(session, kClass, "Add",
                         {"Repository=" + words.repository, "Path=" + words.path,
                          "Account=" + words.account, "Access=" + NumberOfLevel(words.level),
                          std::string("Force=") + (words.force ? "true" : "false")});
  ShowRules(outcome, "Rule");
  return outcome;
}

Outcome Remove(Session& session, const RuleWords& given) {
  const RuleWords words = Placed(given, false);
  return Call(session, kClass, "Remove",
              {"Repository=" + words.repository, "Path=" + words.path, "Account=" + words.account});
}

std::pair<CLI::App*, RuleWords*> AddRuleCommand(CLI::App& access, Command& chosen, const char* name,
                                                const char* description,
                                                Outcome (*run)(Session&, const RuleWords&)) {
  const auto [sub, words] = AddCommand(access, name, description, chosen, run);
  sub->add_option("REPOSITORY", words->repository, "Name of the repository; not with --global");
  sub->add_option("PATH", words->path,
                  "Path in the repository, / for all of it; not with --global");
  sub->add_option("ACCOUNT", words->account, kAccountHelp);
  if (run != Remove) sub->add_option("LEVEL", words->level, kLevelHelp);
  sub->add_flag("--global", words->global,
                "A rule for all repositories; Windows authentication only");
  return {sub, words};
}

void AddList(CLI::App& access, Command& chosen) {
  const auto [list, words] =
      AddCommand(access, "list", "Show the rules, or those that count at a path", chosen, List);
  list->add_option("REPOSITORY", words->repository, "Only the rules of this repository");
  list->add_option("PATH", words->path,
                   "The rules that count at this path: for each account the nearest one");
  list->add_flag("--global", words->global, "Only the rules for all repositories");
  list->footer(
      "Examples:\n  kelvarionctl access list\n  kelvarionctl access list demo\n"
      "  kelvarionctl access list demo /trunk/src");
}

}  // namespace

void AddAccessRuleCommands(CLI::App& access, Command& chosen) {
  AddList(access, chosen);

  const auto [add, added] =
      AddRuleCommand(access, chosen, "add", "Add a rule; one that exists is left alone", Add);
  add->add_flag("--force", added->force, "Overwrite a rule that exists");
  add->footer(
      "Examples:\n  kelvarionctl access add demo / @developers write\n"
      "  kelvarionctl access add demo /private bob none\n"
      "  kelvarionctl access add --global 'Unix Group\\staff' read");

  const auto [set, changed] =
      AddRuleCommand(access, chosen, "set", "Add a rule, or change the one that exists", Add);
  changed->force = true;
  set->footer("Example:\n  kelvarionctl access set demo / bob read");

  AddRuleCommand(access, chosen, "remove", "Remove a rule; the account inherits again", Remove)
      .first->footer("Example:\n  kelvarionctl access remove demo /private bob");
}

}  // namespace kelvarion::host
