// Which records of the event log a user wants to see.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/event_log/event_log.h"

namespace kelvarion::host {

// An empty filter lets every record through; of each kind of condition one must hold.
struct EventFilter {
  std::vector<std::u16string> sources;  // Parts of a source's name, in whatever letter case.
  std::vector<platform::EventType> types;
  std::optional<std::int64_t> since_us;  // Since 1970, universal time.

  bool Accepts(const platform::EventRecord& record) const;
};

// "error", "warning" or "information", in whatever letter case. Throws UsageError for any other.
platform::EventType ParseEventType(const std::string& text);

// A moment in microseconds since 1970: a span before `now_us` (90s, 10m, 2h, 3d, 1w), or a date
// with or without a time (2026-01-31, 2026-01-31T12:00, 2026-01-31 12:00:30), which is local unless
// Z or an offset (+01:00) follows. Throws UsageError for any other text.
std::int64_t ParseSince(std::string_view text, std::int64_t now_us);

}  // namespace kelvarion::host
