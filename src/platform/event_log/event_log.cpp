#include "platform/event_log/event_log.h"

#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>

#include "platform/event_log/log_files.h"
#include "platform/event_log/record_line.h"
#include "platform/files/files.h"
#include "platform/text/encoding.h"

namespace kelvarion::platform {
namespace {

std::int64_t NowMicroseconds() {
  using std::chrono::duration_cast, std::chrono::microseconds, std::chrono::system_clock;
  return duration_cast<microseconds>(system_clock::now().time_since_epoch()).count();
}

int SyslogPriority(EventType type) {
  if (type == EventType::kError) return LOG_ERR;
  return type == EventType::kWarning ? LOG_WARNING : LOG_INFO;
}

void SendToSyslog(const EventRecord& record) {
  if (access("/dev/log", W_OK) != 0) return;
  std::string text;
  for (const std::u16string& each : record.strings) text += " | " + Utf8ForDisplay(each);
  std::replace_if(
      text.begin(), text.end(), [](unsigned char c) { return c < 0x20; }, ' ');
  syslog(LOG_DAEMON | SyslogPriority(record.type), "%s: event 0x%08X%s",
         Utf8ForDisplay(record.source).c_str(), record.id, text.c_str());
}

// The files are opened for each record, so that others may move them and the log is begun anew.
class FolderEventLog final : public EventLog {
 public:
  FolderEventLog(const std::string& folder, std::uint64_t max_size)
      : folder_(folder),
        current_(folder + "/events.jsonl"),
        older_(folder + "/events.1.jsonl"),
        max_file_size_(max_size / 2) {
    MakeFolder();
  }

  Win32Error Report(const EventRecord& record) override {
    try {
      Win32Error error = Append(record);
      if (error == ERROR_PATH_NOT_FOUND) {
        MakeFolder();
        error = Append(record);
      }
      SendToSyslog(record);
      return error;
    } catch (const std::bad_alloc&) {
      return ERROR_NOT_ENOUGH_MEMORY;
    }
  }

  EventPosition Read(const EventPosition& from,
                     const std::function<void(const EventRecord&)>& visit) const override {
    const auto visit_line = [&](const std::string& line) {
      EventRecord record;
      if (FromLine(line, record)) visit(record);
    };
    const LogFiles files = OpenLogFiles(current_, older_);
    const std::uint64_t current = files.current.Identity();
    const std::uint64_t older = files.older.Identity();
    const bool in_current = current != 0 && from.file == current;
    EventPosition at = from;
    if (!in_current && older != 0 && older != from.older) {
      const std::uint64_t start = from.file == older ? from.offset : 0;
      at = {older, files.older.ReadLines(start, visit_line), 0};
    }
    if (current != 0) {
      const std::uint64_t start = in_current ? from.offset : 0;
      const std::uint64_t end = files.current.ReadLines(start, visit_line);
      // Before its first whole line a file may still become another one.
      if (end > 0) at = {current, end, older};
    }
    return at;
  }

 private:
  // The time is taken when nobody else writes, so that records stand in its order.
  Win32Error Append(const EventRecord& record) {
    const FileLock lock(Utf16ForDisplay(folder_ + "/lock"));
    return AppendLine(current_, older_, ToLine(record, NowMicroseconds(), max_file_size_),
                      max_file_size_, lock.Error() == ERROR_SUCCESS);
  }

  void MakeFolder() const {
    std::error_code error;
    std::filesystem::create_directories(std::filesystem::path(folder_).parent_path(), error);
    mkdir(folder_.c_str(), 0700);
  }

  const std::string folder_;
  const std::string current_;
  const std::string older_;
  const std::uint64_t max_file_size_;
};

}  // namespace

std::unique_ptr<EventLog> OpenEventLogFolder(const std::string& folder, std::uint64_t max_size) {
  return std::make_unique<FolderEventLog>(folder, max_size);
}

}  // namespace kelvarion::platform
