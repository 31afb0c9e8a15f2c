#include "host/daemon/served_clients.h"

#include "access/windows_groups.h"
#include "config/registry_accessor.h"
#include "errors/exception.h"
#include "provider/events.h"

namespace kelvarion::host {
namespace {

constexpr const char16_t* kRoot = u"S-1-22-1-0";

}  // namespace

ServedClients::ServedClients(const std::string& home, const platform::SecurityAuthority& accounts)
    : owner_(platform::OwnerSid(home)), accounts_(accounts) {}

bool ServedClients::Includes(const ClientToken& client) const {
  return client.user_sid == kRoot || client.user_sid == owner_ ||
         access::IsGroupMember(accounts_, access::kServerAdminsGroup, client);
}

void RecordRefusal(const platform::Machine& machine, const ClientToken& client) {
  try {
    if (RegistryAccessor(*machine.registry).GetWmiProviderLogLevel() < 1) return;
  } catch (const Exception&) {
    // A damaged setting must not silence the log.
  }
  platform::EventRecord record;
  record.source = kProviderEventSource;
  record.type = platform::EventType::kError;
  record.category = 1;
  record.id = kEventAccessDenied;
  record.user_sid = client.user_sid;
  machine.event_log->Report(record);
}

}  // namespace kelvarion::host
