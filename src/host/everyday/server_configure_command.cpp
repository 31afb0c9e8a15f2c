// kelvarionctl server configure: many settings in one request, which also has the server take them
// up.
#include <filesystem>

#include "host/commands.h"
#include "host/everyday/requests.h"
#include "host/everyday/server_commands.h"

namespace kelvarion::host {
namespace {

constexpr const char* kClass = "PS_SvnServerConfiguration";

// Parameters of the request as the options give them.
using Changes = std::vector<std::string>;

void AddSwitch(CLI::App& command, Changes* changes, const char* option, const char* parameter,
               const char* description) {
  command
      .add_option_function<std::string>(
          option,
          [changes, parameter](const std::string& word) {
            changes->push_back(Switch(parameter, word == "on"));
          },
          description)
      ->check(CLI::IsMember({"on", "off"}))
      ->type_name("on|off");
}

CLI::Option* AddText(CLI::App& command, Changes* changes, const char* option,
                     const char* description,
                     const std::function<std::string(const std::string&)>& parameter) {
  return command.add_option_function<std::string>(
      option,
      [changes, parameter](const std::string& text) { changes->push_back(parameter(text)); },
      description);
}

// "a,b" as a list of texts.
std::string Listen(const std::string& text) {
  Json addresses = Json::array();
  for (std::size_t from = 0; from <= text.size();) {
    const std::size_t comma = std::min(text.find(',', from), text.size());
    addresses.push_back(text.substr(from, comma - from));
    from = comma + 1;
  }
  if (text == "all") addresses = {"All"};
  return "ListeningIPAddress:=" + addresses.dump();
}

std::string Root(const std::string& text) {
  return "RepositoriesRoot=" + std::filesystem::absolute(text).lexically_normal().string();
}

std::string InLines(const Json& settings) {
  std::string text;
  for (const auto& [name, value] : settings.items()) {
    if (name.starts_with("__")) continue;
    std::string heading = name;
    heading.resize(32, ' ');
    text += heading + (value.is_string() ? value.get<std::string>() : value.dump()) + "\n";
  }
  return text;
}

Outcome Configure(Session& session, const Changes& changes) {
  Changes parameters = changes;
  if (!changes.empty()) parameters.emplace_back("PassThru=true");
  Outcome outcome = Call(session, kClass, changes.empty() ? "Get" : "Set", parameters);
  TakeResult(outcome);
  if (!outcome.objects.empty()) outcome.text = InLines(outcome.objects.front());
  return outcome;
}

void AddTexts(CLI::App& command, Changes* changes) {
  const auto named = [](const char* parameter) {
    return [parameter](const std::string& text) { return parameter + ("=" + text); };
  };
  AddText(command, changes, "--server-name", "Host name in addresses; '' for the machine's own",
          named("ServerName"));
  AddText(command, changes, "--port", "TCP port", named("ListenPort"))->check(CLI::Range(1, 65535));
  AddText(command, changes, "--listen", "Addresses to listen on, with commas, or all", Listen);
  AddText(command, changes, "--prefix", "Path in addresses, such as /svn; '' for none",
          named("RepositoriesURLPrefix"));
  AddText(command, changes, "--root", "Folder of the repositories, which exists; moves nothing",
          Root);
  AddText(command, changes, "--logins",
          "Who logs in: users of the server or accounts of the machine",
          [](const std::string& word) {
            return std::string("AuthenticationMode=") + (word == "accounts" ? "1" : "0");
          })
      ->check(CLI::IsMember({"users", "accounts"}))
      ->type_name("users|accounts");
}

}  // namespace

void AddServerConfigureCommand(CLI::App& server, Command& chosen) {
  const auto [configure, changes] = AddCommand(
      server, "configure", "Change settings and have the server take them up; or show them", chosen,
      Configure);
  AddTexts(*configure, changes);
  AddSwitch(*configure, changes, "--tls", "EnableSSL", "Serve HTTPS instead of HTTP");
  AddSwitch(*configure, changes, "--basic", "EnableBasicAuthentication",
            "Let accounts of the machine log in with name and password");
  AddSwitch(*configure, changes, "--integrated", "EnableIntegratedAuthentication",
            "Let accounts of the machine log in with tickets");
  AddSwitch(*configure, changes, "--access-log", "EnableAccessLogging", "Log every request");
  AddSwitch(*configure, changes, "--operational-log", "EnableOperationalLogging",
            "Log Subversion operations");
  AddSwitch(*configure, changes, "--redirect", "RedirectFromLegacyWebInterface",
            "Send browsers from the old web interface to the current one");
  configure->footer(
      "Everything is checked before anything is changed; a server that runs takes it up at once.\n"
      "Without options the settings are shown.\nExamples:\n"
      "  kelvarionctl server configure --tls on --port 8443 --listen all\n"
      "  kelvarionctl server configure --server-name svn.example.org --prefix /repos\n"
      "  kelvarionctl server configure --logins accounts --basic on");
}

}  // namespace kelvarion::host
