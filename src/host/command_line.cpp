#include "host/command_line.h"

#include <CLI/CLI.hpp>
#include <clocale>
#include <functional>
#include <iostream>

#include "errors/exception.h"
#include "host/command_group.h"
#include "host/commands.h"
#include "host/console.h"
#include "host/everyday/access_commands.h"
#include "host/everyday/account_commands.h"
#include "host/everyday/certificate_commands.h"
#include "host/everyday/replication_commands.h"
#include "host/everyday/repository_commands.h"
#include "host/everyday/server_commands.h"
#include "host/init.h"
#include "host/manual.h"
#include "host/text.h"
#include "platform/process/process.h"

namespace kelvarion::host {
namespace {

// What the parsed words of a command line come to.
struct Parsed {
  GlobalOptions global;
  InitOptions init;
  std::string subject;  // Class, path or setting.
  std::string verb;     // Method or value.
  std::vector<std::string> values;
  bool markdown = false;
  bool follow = false;
  bool for_user = false;
  EventOptions events;
  Command command;
};

constexpr const char* kPathHelp = "An object path: Class.Key=\"value\", or Class=@ for a singleton";
constexpr const char* kValueHelp = "NAME=TEXT, or NAME:=JSON for lists, null and embedded objects";

void AddInit(CLI::App& app, Parsed& parsed) {
  CLI::App* const init = AddCommand(
      app, "init", "Make a complete, secure home; what exists is left alone", parsed.command,
      [&parsed](Session& session) { return Init(session, parsed.init); });
  InitOptions& options = parsed.init;
  init->add_option("--repositories-root", options.repositories_root,
                   "Folder for the repositories (default: repositories/ in the home)");
  init->add_option("--port", options.port, "TCP port for HTTP (default 8080)")
      ->check(CLI::Range(1, 65535));
  init->add_option("--ssl-port", options.ssl_port, "TCP port for HTTPS (default 8443)")
      ->check(CLI::Range(1, 65535));
  init->add_option("--listen", options.listen,
                   "Addresses to listen on, with commas, or all (default 127.0.0.1)");
  init->add_option("--server-name", options.server_name,
                   "Host name in addresses (default: the name of the machine)");
  init->footer(
      "Example:\n  kelvarionctl --home ~/server init --port 8080 --listen all\n"
      "Then:\n  kelvarionctl --home ~/server server start");
}

void AddSchema(CLI::App& app, Parsed& parsed) {
  AddCommand(app, "classes", "List the management classes", parsed.command, Classes);
  CLI::App* const describe = AddCommand(
      app, "describe", "Show a class: its properties, methods and parameters", parsed.command,
      [&parsed](Session& session) { return Describe(session, parsed.subject, parsed.markdown); });
  describe->add_option("CLASS", parsed.subject, "Name of the class")->required();
  describe->add_flag("--markdown", parsed.markdown, "As a page of the documentation");
  describe->footer("Example:\n  kelvarionctl describe Kelvarion_Repository");
}

void AddRequests(CLI::App& app, Parsed& parsed) {
  CLI::App* const enumerate =
      AddCommand(app, "enumerate", "List all instances of a class", parsed.command,
                 [&parsed](Session& session) { return Enumerate(session, parsed.subject); });
  enumerate->add_option("CLASS", parsed.subject, "Name of the class")->required();
  enumerate->footer("Example:\n  kelvarionctl enumerate Kelvarion_Repository");

  CLI::App* const get =
      AddCommand(app, "get", "Show one instance", parsed.command,
                 [&parsed](Session& session) { return Get(session, parsed.subject); });
  get->add_option("PATH", parsed.subject, kPathHelp)->required();
  get->footer(
      "Examples:\n  kelvarionctl get 'Kelvarion_Repository.Name=\"demo\"'\n"
      "  kelvarionctl get Kelvarion_VersionInfo=@");

  CLI::App* const put = AddCommand(
      app, "put", "Store an instance", parsed.command,
      [&parsed](Session& session) { return Put(session, parsed.subject, parsed.values); });
  put->add_option("CLASS", parsed.subject, "Name of the class")->required();
  put->add_option("PROPERTY", parsed.values, kValueHelp);

  CLI::App* const remove =
      AddCommand(app, "delete", "Delete one instance", parsed.command,
                 [&parsed](Session& session) { return Delete(session, parsed.subject); });
  remove->add_option("PATH", parsed.subject, kPathHelp)->required();
}

void AddCall(CLI::App& app, Parsed& parsed) {
  CLI::App* const call =
      AddCommand(app, "call", "Call a method of a class or of an instance", parsed.command,
                 [&parsed](Session& session) {
                   return Call(session, parsed.subject, parsed.verb, parsed.values);
                 });
  call->add_option("PATH", parsed.subject, "A class for its static methods, else an object path")
      ->required();
  call->add_option("METHOD", parsed.verb, "Name of the method")->required();
  call->add_option("PARAMETER", parsed.values, kValueHelp);
  call->footer(
      "Examples:\n"
      "  kelvarionctl call Kelvarion_Repository Create Name=demo\n"
      "  kelvarionctl call 'Kelvarion_Repository.Name=\"demo\"' SetSecurity Path=/ \\\n"
      "    ResetChildren=false 'Permissions:=[{\"__CLASS\":\"Kelvarion_PermissionEntry\",\n"
      "    \"Account\":{\"__CLASS\":\"Kelvarion_User\",\"Name\":\"alice\"},\"AccessLevel\":2}]'\n"
      "Ctrl-C cancels a call that runs long and waits until it has cleaned up.");
}

// A value must not be able to disturb the terminal.
std::string ForTerminal(std::string text) {
  if (!platform::OutputIsTerminal()) return text;
  for (char& c : text)
    if ((static_cast<unsigned char>(c) < ' ' && c != '\n' && c != '\t') || c == '\x7F') c = '?';
  return text;
}

void AddEvents(CLI::App& app, Parsed& parsed) {
  CLI::App* const events =
      AddCommand(app, "events", "Show the event log: failed requests and changes of permissions",
                 parsed.command, [&parsed](Session& session) {
                   if (!parsed.follow) return Events(session, parsed.events);
                   const bool json = parsed.global.json;
                   FollowEvents(session, parsed.events, json, [json](const std::string& line) {
                     std::cout << (json ? line : ForTerminal(line)) << std::flush;
                     if (!std::cout) throw SimpleException(u"The events cannot be printed.");
                   });
                   Outcome ended;
                   ended.printed = true;
                   return ended;
                 });
  EventOptions& options = parsed.events;
  events->add_option("--source", options.sources, "Only of this source; a part of its name will do")
      ->allow_extra_args(false);
  events->add_option("--type", options.types, "Only of this type: error, warning or information")
      ->allow_extra_args(false);
  events->add_option("--since", options.since,
                     "Only from then on: 10m, 2h, 3d, 2026-01-31 or 2026-01-31T12:00");
  events->add_flag("--follow", parsed.follow,
                   "Go on showing new events until Ctrl-C; with --json one object a line");
  events->footer(
      "Options can be given several times.\nExamples:\n"
      "  kelvarionctl events --type error --since 2h\n"
      "  kelvarionctl events --source management --follow");
}

void AddSettings(CLI::App& app, Parsed& parsed) {
  CLI::App* const settings =
      app.add_subcommand("settings", "Show or change the settings as they are stored");
  settings->require_subcommand(0, 1);
  // The commands below it have had their turn by then.
  settings->final_callback([&parsed] {
    if (!parsed.command) parsed.command = ListSettings;
  });
  settings->footer(
      "Examples:\n  kelvarionctl settings\n  kelvarionctl settings set HttpSvnCacheSize 256\n"
      "The web server takes changes up with: kelvarionctl server restart");
  CLI::App* const list = settings->add_subcommand("list", "Show all settings");
  list->final_callback([&parsed] { parsed.command = ListSettings; });
  CLI::App* const get = settings->add_subcommand("get", "Show one setting");
  get->add_option("NAME", parsed.subject, "Name of the setting")->required();
  get->final_callback([&parsed] {
    parsed.command = [&parsed](Session& session) { return GetSetting(session, parsed.subject); };
  });
  CLI::App* const set = settings->add_subcommand("set", "Change one setting");
  set->add_option("NAME", parsed.subject, "Name of the setting")->required();
  set->add_option("VALUE", parsed.verb, "The new value; lists with commas")->required();
  set->final_callback([&parsed] {
    parsed.command = [&parsed](Session& session) {
      return SetSetting(session, parsed.subject, parsed.verb);
    };
  });
}

void AddRegistration(CLI::App& app, Parsed& parsed) {
  CLI::App* const registration = app.add_subcommand(
      "registration", "Show or change where the provider library's classes are found");
  registration->require_subcommand(0, 1);
  registration->final_callback([&parsed] {
    if (!parsed.command) parsed.command = ShowRegistration;
  });
  registration->footer("Nothing is served while the classes are not registered.");
  const auto add = [&](const char* name, const char* description, bool install) {
    CLI::App* const sub = registration->add_subcommand(name, description);
    sub->add_flag("--user", parsed.for_user, "For the user who runs this, not the machine");
    sub->final_callback([&parsed, install] {
      parsed.command = [&parsed, install](Session& session) {
        return ChangeRegistration(session, install, parsed.for_user);
      };
    });
  };
  add("install", "Register the classes of this program's library", true);
  add("remove", "Remove the classes from the registration", false);
}

void AddGlobal(CLI::App& app, Parsed& parsed) {
  app.require_subcommand(1);
  app.fallthrough();
  app.add_option("--home", parsed.global.home,
                 "The server's home (default: $KELVARION_HOME, else /var/lib/kelvarion for root "
                 "and ~/.local/state/kelvarion for others)");
  app.add_flag("--json", parsed.global.json, "Print one JSON document instead of text");
  app.add_flag("--in-process", parsed.global.in_process,
               "Work in this process, even if the home's daemon runs");
  app.add_option("--context", parsed.global.contexts,
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

int Run(Parsed& parsed) {
  const bool json = parsed.global.json;
  try {
    Session session(parsed.global);
    Outcome outcome;
    {
      Console console;
      if (!json) session.observer = &console;
      outcome = RunCommand(session, parsed.command);
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
  Parsed parsed;
  AddGlobal(app, parsed);
  AddInit(app, parsed);
  AddSchema(app, parsed);
  AddRequests(app, parsed);
  AddCall(app, parsed);
  AddServerCommands(app, parsed.command);
  AddDoctorCommand(app, parsed.command);
  AddUserCommands(app, parsed.command);
  AddGroupCommands(app, parsed.command);
  AddRepositoryCommands(app, parsed.command);
  AddReplicationCommands(app, parsed.command);
  AddHookCommands(app, parsed.command);
  AddItemCommands(app, parsed.command);
  AddAccessCommands(app, parsed.command);
  AddCertificateCommands(app, parsed.command);
  AddEvents(app, parsed);
  AddSettings(app, parsed);
  AddRegistration(app, parsed);
  AddManualCommands(app);
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& help) {
    return app.exit(help);
  } catch (const CLI::ParseError& error) {
    const bool json = std::find(argv, argv + argc, std::string("--json")) != argv + argc;
    return RefuseUsage(WrongUsage(app, error), json);
  }
  return Run(parsed);
}

}  // namespace kelvarion::host
