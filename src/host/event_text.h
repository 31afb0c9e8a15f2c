// Records of the event log as people and scripts read them.
#pragma once

#include <string>

#include "host/argument.h"
#include "platform/event_log/event_log.h"
#include "platform/security/security.h"

namespace kelvarion::host {

// What happened, in words; the record's own texts for an identifier that is not known.
std::string EventMessage(const platform::EventRecord& record);

// "2026-01-31 12:00:00  Kelvarion Server 3.5  error  0xC00007D0  alice  …", in local time; ends
// with a line feed. Line ends within the message are shown as blanks.
std::string EventLine(const platform::EventRecord& record,
                      const platform::SecurityAuthority& accounts);

// The time is universal, in the form 2026-01-31T12:00:00.000000Z.
Json EventToJson(const platform::EventRecord& record, const platform::SecurityAuthority& accounts);

}  // namespace kelvarion::host
