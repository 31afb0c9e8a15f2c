// kelvarionctl access explain and access check.
#include "host/commands.h"
#include "host/everyday/access_commands.h"
#include "host/table.h"
#include "host/text.h"

namespace kelvarion::host {
namespace {

constexpr int kError = 2;  // The severity.

std::string TextOf(const Json& object, const char* name) {
  const Json& value = object.at(name);
  return value.is_string() ? value.get<std::string>() : "";
}

std::string LevelInWords(const Json& entry) {
  constexpr const char* kWords[] = {"no access", "read", "read and write"};
  return kWords[entry.at("AccessLevel").get<unsigned>() % std::size(kWords)];
}

// "[/trunk] @developers, line 12"
std::string RuleInWords(const Json& entry) {
  if (entry.at("RuleKey").is_null()) return "";
  return "[" + TextOf(entry, "RuleSection") + "] " + TextOf(entry, "RuleKey") + ", line " +
         std::to_string(entry.at("RuleLine").get<unsigned>());
}

std::string Chain(const Json& entry) {
  std::string chain;
  for (const Json& group : entry.at("Through"))
    chain += (chain.empty() ? "" : " > ") + group.get<std::string>();
  return chain;
}

struct ExplainOptions {
  std::string repository;
  std::string path;
  std::string account;
};

Outcome Explain(Session& session, const ExplainOptions& options) {
  std::vector<std::string> parameters{"RepositoryName=" + options.repository,
                                      "Path=" + options.path};
  if (!options.account.empty()) parameters.push_back("Account=" + options.account);
  Outcome outcome = Call(session, "Kelvarion_EffectiveAccess", "Explain", parameters);
  if (Failed(outcome.status) || outcome.objects.empty()) return outcome;
  const Json entries = outcome.objects.front().at("Entries");
  outcome.objects.assign(entries.begin(), entries.end());
  if (!options.account.empty() && entries.size() == 1) {
    outcome.text = TextOf(entries[0], "DisplayName") + ": " + LevelInWords(entries[0]) + "\n" +
                   TextOf(entries[0], "Explanation") + "\n";
    if (!entries[0].at("RuleFile").is_null())
      outcome.text += TextOf(entries[0], "RuleFile") + ":" +
                      std::to_string(entries[0].at("RuleLine").get<unsigned>()) + "\n";
    return outcome;
  }
  Table table{{"ACCOUNT", "ACCESS", "RULE", "THROUGH"}, {}};
  for (const Json& entry : entries) {
    const std::string rule = RuleInWords(entry);
    table.rows.push_back({TextOf(entry, "DisplayName"), LevelInWords(entry),
                          rule.empty() ? TextOf(entry, "Explanation") : rule, Chain(entry)});
  }
  outcome.text =
      entries.empty() ? "No account is concerned.\n" : table.Render(table.headings.size());
  return outcome;
}

std::string FindingInWords(const Json& finding) {
  constexpr const char* kSeverities[] = {"information", "warning", "error"};
  const unsigned severity = finding.at("Severity").get<unsigned>() % std::size(kSeverities);
  const unsigned line = finding.at("Line").get<unsigned>();
  return TextOf(finding, "File") + (line ? ":" + std::to_string(line) : "") + ": " +
         kSeverities[severity] + ": " + TextOf(finding, "Message") + " " +
         TextOf(finding, "Remedy") + "\n";
}

Outcome Check(Session& session) {
  Outcome outcome = Enumerate(session, "Kelvarion_AccessFinding");
  if (Failed(outcome.status)) return outcome;
  outcome.text.clear();
  for (const Json& finding : outcome.objects) {
    outcome.text += FindingInWords(finding);
    if (finding.at("Severity") == kError) outcome.exit_code = kExitFailed;
  }
  if (outcome.objects.empty()) outcome.text = "Everything is in order.\n";
  return outcome;
}

}  // namespace

void AddAccessExplainCommands(CLI::App& access, Command& chosen) {
  const auto [explain, options] =
      AddCommand(access, "explain", "Show who may really do what at a path, and by which rule",
                 chosen, Explain);
  explain->add_option("REPOSITORY", options->repository, "Name of the repository")->required();
  explain->add_option("PATH", options->path, "Path in the repository, / for its root")->required();
  explain->add_option("--account", options->account,
                      "Only this user; with Windows authentication the name or SID of an account");
  explain->footer(
      "Examples:\n  kelvarionctl access explain demo /trunk\n"
      "  kelvarionctl access explain demo /trunk --account alice");
  CLI::App* const check = AddCommand(
      access, "check", "Look for what is wrong in rules, groups and users", chosen, Check);
  check->footer(
      "The exit code is 1 when the web server refuses access because of something found, and 0\n"
      "when there are only warnings or nothing.");
}

}  // namespace kelvarion::host
