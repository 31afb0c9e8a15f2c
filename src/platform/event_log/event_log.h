// The machine's event log: append-only records that administrators read.
//
// Safe from any thread and from several processes: a record is one append and never mixes with
// another. Writing never throws; its result is a Win32 error code.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/com/types.h"

namespace kelvarion::platform {

enum class EventType : std::uint16_t { kError = 1, kWarning = 2, kInformation = 4 };

struct EventRecord {
  std::u16string source;
  EventType type = EventType::kInformation;
  std::uint16_t category = 0;
  std::uint32_t id = 0;
  std::optional<std::u16string> user_sid;
  std::vector<std::u16string> strings;
  std::int64_t time_us = 0;  // Since 1970, universal time; filled when the record is written.
};

class EventLog {
 public:
  virtual ~EventLog() = default;
  virtual Win32Error Report(const EventRecord& record) = 0;
  // Every whole record from `offset` (bytes, 0 at first) on, oldest first; returns the offset after
  // the last one, for a reader that follows the log. A record that cannot be read is skipped.
  virtual std::uint64_t Read(std::uint64_t offset,
                             const std::function<void(const EventRecord&)>& visit) const = 0;
};

// The log kept as JSON lines in `folder` (UTF-8 path, created when missing), also sent to syslog
// where there is one.
std::unique_ptr<EventLog> OpenEventLogFolder(const std::string& folder);

}  // namespace kelvarion::platform
