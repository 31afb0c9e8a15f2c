#include "host/command_line.h"

#include <CLI/CLI.hpp>
#include <clocale>
#include <iostream>

#include "errors/exception.h"
#include "host/commands.h"
#include "host/console.h"
#include "host/everyday/access_commands.h"
#include "host/everyday/account_commands.h"
#include "host/everyday/certificate_commands.h"
#include "host/everyday/replication_commands.h"
#include "host/everyday/repository_commands.h"
#include "host/everyday/server_commands.h"
#include "host/manual.h"
#include "host/text.h"

namespace kelvarion::host {
namespace {

void AddGlobalOptions(CLI::App& app, GlobalOptions& options) {
  app.require_subcommand(1);
  app.fallthrough();
  app.add_option("--home", options.home,
                 "The server's home (default: $KELVARION_HOME, else /var/lib/kelvarion for root "
                 "and ~/.local/state/kelvarion for others)");
  app.add_flag("--json", options.json, "Print one JSON document instead of text");
  app.add_flag("--in-process", options.in_process,
               "Work in this process, even if the home's daemon runs");
  app.add_option("--context", options.contexts,
                 "A value to send along with the request: NAME=TEXT or NAME:=JSON")
      ->allow_extra_args(false);
  app.footer(
      "Exit codes: 0 the request succeeded, 1 it failed, 2 wrong usage or no home.\n"
      "First steps:\n"
      "  kelvarionctl init\n"
      "  kelvarionctl server start\n"
      "  kelvarionctl repository create demo\n"
      "  kelvarionctl user create alice\n"
      "  kelvarionctl access add demo / alice write\n"
      "  kelvarionctl classes");
}

// As the provider reports exceptions: only a WMIException has a status of its own.
Outcome RunCommand(Session& session, const Command& command) {
  try {
    return command(session);
  } catch (const WMIException& exception) {
    return Failure(exception.status(), exception.Message());
  } catch (const Exception& exception) {
    return Failure(WBEM_E_FAILED, exception.Message());
  } catch (const UsageError&) {
    throw;
  } catch (const std::exception& exception) {
    return Failure(WBEM_E_FAILED, Utf16(exception.what()));
  }
}

int Print(const Outcome& outcome, bool json) {
  if (outcome.printed) return std::cout ? kExitSuccess : kExitFailed;
  std::cout << (json ? ToDocument(outcome) : ForTerminal(outcome.text)) << std::flush;
  if (!json && Failed(outcome.status)) std::cerr << ErrorText(outcome);
  if (!json && Succeeded(outcome.status) && outcome.status != S_OK)
    std::cerr << "Status " << StatusText(outcome.status) << "\n";
  if (!std::cout) {
    std::cerr << "kelvarionctl: cannot write the output\n";
    return kExitFailed;
  }
  return Failed(outcome.status) ? kExitFailed : outcome.exit_code;
}

int RefuseUsage(const std::string& message, bool json) {
  if (json) std::cout << ToDocument(Failure(WBEM_E_FAILED, Utf16(message))) << std::flush;
  std::cerr << "kelvarionctl: " << message << "\n";
  return kExitUsage;
}

int Run(const GlobalOptions& options, const Command& command) {
  const bool json = options.json;
  try {
    Session session(options);
    Outcome outcome;
    {
      Console console;
      if (!json) session.observer = &console;
      outcome = RunCommand(session, command);
    }
    return Print(outcome, json);
  } catch (const UsageError& error) {
    return RefuseUsage(error.what(), json);
  }
}

std::string WrongUsage(const CLI::App& app, const CLI::ParseError& error) {
  const CLI::App* command = &app;
  while (!command->get_subcommands().empty()) command = command->get_subcommands().front();
  const std::vector<std::string> rest = app.remaining(true);
  if (command->get_require_subcommand_min() > 0 && !rest.empty())
    return "There is no command or option '" + rest.front() + "'; --help lists them.";
  return std::string(error.what()) + "; --help tells more.";
}

}  // namespace

int RunKelvarionctl(int argc, char** argv) {
  // Tables show what LC_CTYPE cannot represent as numbers, but all text that goes out is UTF-8.
  std::setlocale(LC_CTYPE, "C.UTF-8");
  CLI::App app("Administers a Kelvarion server: repositories, users, access rules, settings.",
               "kelvarionctl");
  GlobalOptions options;
  Command command;
  AddGlobalOptions(app, options);
  for (const auto add :
       {AddInitCommand, AddSchemaCommands, AddRequestCommands, AddServerCommands, AddDoctorCommand,
        AddUserCommands, AddGroupCommands, AddRepositoryCommands, AddReplicationCommands,
        AddHookCommands, AddItemCommands, AddAccessCommands, AddCertificateCommands,
        AddEventsCommand, AddSettingsCommands, AddRegistrationCommands})
    add(app, command);
  AddManualCommands(app);
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& help) {
    return app.exit(help);
  } catch (const CLI::ParseError& error) {
    const bool json = std::find(argv, argv + argc, std::string("--json")) != argv + argc;
    return RefuseUsage(WrongUsage(app, error), json);
  }
  return Run(options, command);
}

}  // namespace kelvarion::host
