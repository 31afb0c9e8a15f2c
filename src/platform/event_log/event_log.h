// The machine's event log: append-only records that administrators read.
//
// Safe from any thread and from several processes, any of which may be killed: a record is written
// whole or not at all and never mixes with another. Writing never throws; its result is a Win32
// error code.
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

// Where a reader has come to. It stays valid while the log goes on in new files.
struct EventPosition {
  std::uint64_t file = 0;  // Which file; 0 before the first record.
  std::uint64_t offset = 0;
  std::uint64_t older = 0;  // The file before it, which has been read.

  friend bool operator==(const EventPosition&, const EventPosition&) = default;
};

class EventLog {
 public:
  virtual ~EventLog() = default;
  virtual Win32Error Report(const EventRecord& record) = 0;
  // Every whole record after `from` ({} is the beginning), in the order in which they were written;
  // returns the position after the last one, for a reader that follows the log. A record that
  // cannot be read is skipped. Of a reader that is slower than half of the log's size being
  // written, the oldest records are lost.
  virtual EventPosition Read(const EventPosition& from,
                             const std::function<void(const EventRecord&)>& visit) const = 0;
};

inline constexpr std::uint64_t kEventLogSize = 16 * 1024 * 1024;

// The log kept as JSON lines in `folder` (UTF-8 path, created when missing), also sent to syslog
// where there is one. The newest records are in events.jsonl; when it has grown to half of
// `max_size` (bytes) it becomes events.1.jsonl, and what that held before is gone. A record that
// would not fit has its strings cut.
std::unique_ptr<EventLog> OpenEventLogFolder(const std::string& folder,
                                             std::uint64_t max_size = kEventLogSize);

}  // namespace kelvarion::platform
