#include "host/commands.h"
#include "host/init.h"

namespace kelvarion::host {

void AddInitCommand(CLI::App& app, Command& chosen) {
  const auto [init, options] = AddCommand(
      app, "init", "Make a complete, secure home; what exists is left alone", chosen, Init);
  init->add_option("--repositories-root", options->repositories_root,
                   "Folder for the repositories (default: repositories/ in the home)");
  init->add_option("--port", options->port, "TCP port for HTTP (default 8080)")
      ->check(CLI::Range(1, 65535));
  init->add_option("--ssl-port", options->ssl_port, "TCP port for HTTPS (default 8443)")
      ->check(CLI::Range(1, 65535));
  init->add_option("--listen", options->listen,
                   "Addresses to listen on, with commas, or all (default 127.0.0.1)");
  init->add_option("--server-name", options->server_name,
                   "Host name in addresses (default: the name of the machine)");
  init->footer(
      "Example:\n  kelvarionctl --home ~/server init --port 8080 --listen all\n"
      "Then:\n  kelvarionctl --home ~/server server start");
}

}  // namespace kelvarion::host
