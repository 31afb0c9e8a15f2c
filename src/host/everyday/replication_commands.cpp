#include "host/everyday/replication_commands.h"

namespace kelvarion::host {

void AddReplicationCommands(CLI::App& app, Command& chosen) {
  CLI::App* const group =
      app.add_subcommand("replication", "Follow masters on other servers, and let slaves follow");
  group->require_subcommand(1);
  AddTrustCommands(*group, chosen);
}

}  // namespace kelvarion::host
