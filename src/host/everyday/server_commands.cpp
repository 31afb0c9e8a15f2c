// kelvarionctl server: status, start, stop, restart.
#include "host/everyday/server_commands.h"

#include "host/commands.h"
#include "host/everyday/requests.h"

namespace kelvarion::host {
namespace {

constexpr const char* kClass = "Kelvarion_ServerStatus";
constexpr unsigned kRunning = 4;  // The state.

std::string StateInWords(const Json& status) {
  constexpr const char* kWords[] = {"unknown", "stopped",    "starting", "stopping",
                                    "running", "continuing", "pausing",  "paused"};
  std::string words = kWords[status.at("ServiceState").get<unsigned>() % std::size(kWords)];
  if (status.at("ExitCode") != 0) words += " (it has failed)";
  if (status.at("RestartPending") == true) words += " (changes wait for: server restart)";
  return words;
}

std::string Joined(const Json& texts) {
  std::string line;
  for (const Json& text : texts) line += (line.empty() ? "" : ", ") + text.get<std::string>();
  return line;
}

std::string Count(const Json& number) { return number.is_null() ? "unknown" : number.dump(); }

std::string StatusText(const Json& status) {
  std::string text;
  const auto line = [&](std::string name, const std::string& value) {
    name.resize(16, ' ');
    text += name + value + "\n";
  };
  const bool users = status.at("AuthType") == 0;
  line("State", StateInWords(status));
  line("Address", status.at("URL"));
  line("Listens on", Joined(status.at("Listening")) +
                         (status.at("UseSecureConnection") == true ? " (HTTPS)" : " (HTTP)"));
  line("Logins", users ? "users of the server" : "accounts of the machine");
  line("Repositories", Count(status.at("Repositories")) + " in " +
                           status.at("RepositoriesRoot").get<std::string>());
  if (users) line("Users", Count(status.at("Users")));
  if (!status.at("CertificateExpires").is_null())
    line("Certificate", "expires " + status.at("CertificateExpires").get<std::string>() + ", in " +
                            Count(status.at("CertificateDaysLeft")) + " days");
  for (const Json& warning : status.at("Warnings")) line("Attention", warning.get<std::string>());
  return text;
}

Outcome Status(Session& session) {
  Outcome outcome = Get(session, std::string(kClass) + "=@");
  if (outcome.objects.empty()) return outcome;
  const Json& status = outcome.objects.front();
  outcome.text = StatusText(status);
  if (status.at("ServiceState") != kRunning) outcome.exit_code = kExitFailed;
  return outcome;
}

// What people read when it went well, depending on whether anything had to be done.
Outcome Control(Session& session, const char* method, const char* done, const char* nothing_to_do) {
  Outcome outcome = Call(session, kClass, method, {});
  if (Failed(outcome.status)) return outcome;
  const bool changed = outcome.objects.empty() || outcome.objects.front().at("Changed") == true;
  outcome.text = changed ? done : nothing_to_do;
  return outcome;
}

}  // namespace

void AddServerCommands(CLI::App& app, Command& chosen) {
  CLI::App* const server =
      AddGroup(app, "server", "Show how the server is; start, stop, restart and configure it");
  AddCommand(*server, "status", "Show state, address, logins and what needs attention", chosen,
             Status)
      ->footer("The exit code is 1 while the server does not run.");
  AddCommand(
      *server, "start", "Start the server and wait until it runs", chosen, [](Session& session) {
        return Control(session, "Start", "The server runs.\n", "The server was running already.\n");
      });
  AddCommand(*server, "stop", "Stop the server and wait until it has ended", chosen,
             [](Session& session) {
               return Control(session, "Stop", "The server is stopped.\n",
                              "The server was stopped already.\n");
             });
  AddCommand(
      *server, "restart", "Make the server take up its configuration, and wait for it", chosen,
      [](Session& session) {
        return Control(session, "Restart", "The server runs with its new configuration.\n", "");
      })
      ->footer(
          "No connection is dropped. A server that refuses the configuration says why and serves\n"
          "on with the old one; one that is stopped is started.");
  AddServerConfigureCommand(*server, chosen);
}

}  // namespace kelvarion::host
