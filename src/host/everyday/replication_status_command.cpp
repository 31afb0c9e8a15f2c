// replication status: how far the slaves have come, by Kelvarion_ReplicationStatus.
#include "host/commands.h"
#include "host/everyday/replication_commands.h"
#include "host/everyday/requests.h"
#include "host/table.h"

namespace kelvarion::host {
namespace {

std::string Known(const Json& value) { return value.is_null() ? "-" : value.dump(); }

// "2026-01-31 12:00:05" of a date-time in universal time.
std::string TimeText(const Json& value) {
  if (value.is_null()) return "-";
  const std::string text = value.get<std::string>();
  const auto part = [&](std::size_t at, std::size_t length) { return text.substr(at, length); };
  return part(0, 4) + "-" + part(4, 2) + "-" + part(6, 2) + " " + part(8, 2) + ":" + part(10, 2) +
         ":" + part(12, 2);
}

std::string State(const Json& slave) {
  if (slave.at("Suspended").get<bool>()) return "suspended";
  if (!slave.at("ServiceRuns").get<bool>()) return "service stopped";
  if (!slave.at("LastError").is_null()) return "failing";
  return slave.at("RevisionsBehind").is_null() ? "starting" : "following";
}

// Below the table, since there may be much to say.
std::string Failures(const std::vector<Json>& slaves) {
  std::string text;
  for (const Json& slave : slaves)
    if (!slave.at("LastError").is_null())
      text += slave.at("Name").get<std::string>() + ": " +
              slave.at("LastError").get<std::string>() + "\n";
  return text;
}

Outcome Status(Session& session) {
  Outcome outcome = Enumerate(session, "Kelvarion_ReplicationStatus");
  if (Failed(outcome.status)) return outcome;
  Table table{{"SLAVE", "MASTER", "REVISION", "BEHIND", "SECONDS", "LAST CONTACT (UTC)", "STATE"},
              {}};
  for (const Json& slave : outcome.objects) {
    const auto text = [&](const char* name) { return slave.at(name).get<std::string>(); };
    const std::string state = State(slave);
    if (state == "failing" || state == "service stopped") outcome.exit_code = kExitFailed;
    table.rows.push_back({text("Name"), text("MasterServer") + "/" + text("MasterRepository"),
                          Known(slave.at("Revision")), Known(slave.at("RevisionsBehind")),
                          Known(slave.at("SecondsBehind")), TimeText(slave.at("LastContact")),
                          state});
  }
  outcome.text = table.rows.empty()
                     ? "No slaves.\n"
                     : table.Render(table.headings.size()) + Failures(outcome.objects);
  return outcome;
}

}  // namespace

void AddReplicationStatus(CLI::App& replication, Command& chosen) {
  AddCommand(replication, "status", "Show how far the slaves of this server have come", chosen,
             Status)
      ->footer("Exit code 1 when a slave that is not suspended does not follow its master.");
}

}  // namespace kelvarion::host
