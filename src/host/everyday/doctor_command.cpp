// kelvarionctl doctor: the examination of the whole installation.

#include "host/commands.h"
#include "host/everyday/requests.h"
#include "host/everyday/server_commands.h"

namespace kelvarion::host {
namespace {

constexpr const char* kClass = "Kelvarion_Finding";
constexpr const char* kSeverities[] = {"information", "warning", "error"};
constexpr unsigned kWarning = 1;
constexpr unsigned kError = 2;

struct DoctorOptions {
  bool fix = false;
  bool quiet = false;
};

unsigned SeverityOf(const Json& finding) {
  return finding.at("Severity").get<unsigned>() % std::size(kSeverities);
}

std::string InWords(const Json& finding) {
  const auto text = [&](const char* name) { return finding.at(name).get<std::string>(); };
  const std::string outcome = text("Outcome");
  return text("Location") + ": " + kSeverities[SeverityOf(finding)] + ": " + text("Message") +
         "\n    " + (outcome.empty() ? text("Remedy") : outcome) + "\n";
}

// By what is left to be done.
ExitCode Judge(const std::vector<Json>& findings) {
  unsigned worst = 0;
  for (const Json& finding : findings)
    if (finding.at("Repaired") == false) worst = std::max(worst, SeverityOf(finding));
  if (worst == kError) return kExitFailed;
  return worst == kWarning ? kExitWarnings : kExitSuccess;
}

Outcome Examine(Session& session, const DoctorOptions& options) {
  if (options.quiet) session.observer = nullptr;
  Outcome outcome = options.fix ? Call(session, kClass, "Repair", {}) : Enumerate(session, kClass);
  if (options.fix) TakeResult(outcome, "Findings");
  if (Failed(outcome.status)) return outcome;
  outcome.text.clear();
  for (const Json& finding : outcome.objects)
    if (!options.quiet || SeverityOf(finding) >= kWarning) outcome.text += InWords(finding);
  if (outcome.objects.empty() && !options.quiet) outcome.text = "Everything is in order.\n";
  outcome.exit_code = Judge(outcome.objects);
  return outcome;
}

}  // namespace

void AddDoctorCommand(CLI::App& app, Command& chosen) {
  const auto [doctor, options] =
      AddCommand(app, "doctor", "Examine the whole installation, and repair it", chosen, Examine);
  doctor->add_flag("--fix", options->fix, "Repair what can be repaired safely");
  doctor->add_flag("--quiet", options->quiet,
                   "Print warnings and errors only, and nothing while at work");
  doctor->footer(
      "Exit codes, for monitoring: 0 nothing, or information only, 1 an error, 3 warnings;\n"
      "2 means that there is no home to examine. What --fix repaired does not count.\n"
      "Examples:\n  kelvarionctl doctor\n  kelvarionctl doctor --fix\n"
      "  kelvarionctl --json doctor --quiet");
}

}  // namespace kelvarion::host
