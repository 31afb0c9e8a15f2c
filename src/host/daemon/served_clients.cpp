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

void Refusals::Record(const ClientToken& client) {
  try {
    if (RegistryAccessor(*machine_.registry).GetWmiProviderLogLevel() < 1) return;
  } catch (const Exception&) {
    // A damaged setting must not silence the log.
  }
  {
    const std::lock_guard lock(mutex_);
    if (!limit_.Allows(platform::ReportLimit::Clock::now())) return;
  }
  platform::EventRecord record;
  record.source = kProviderEventSource;
  record.type = platform::EventType::kError;
  record.category = 1;
  record.id = kEventAccessDenied;
  record.user_sid = client.user_sid;
  machine_.event_log->Report(record);
}

}  // namespace kelvarion::host
