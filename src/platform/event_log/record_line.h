// The form of a record in the log's files.
#pragma once

#include <cstdint>
#include <string>

#include "platform/event_log/event_log.h"

namespace kelvarion::platform {

// A JSON object and a line feed, at most `max_size` bytes (a few hundred at least): strings that
// are too long for that are cut. The time is `time_us`, not the record's.
std::string ToLine(const EventRecord& record, std::int64_t time_us, std::uint64_t max_size);

// False for a line that is no record. One that was cut off, by a full disk or a kill, may precede
// the record on its line.
bool FromLine(const std::string& line, EventRecord& out);

// "error", "warning" or "information".
const char* EventTypeName(EventType type);

}  // namespace kelvarion::platform
