#include "platform/event_log/event_log.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "platform/text/encoding.h"

namespace kelvarion::platform {
namespace {

using Json = nlohmann::ordered_json;

// Every line begins with it, and no text inside a record can hold it, since quotes are escaped
// there.
constexpr const char* kRecordStart = "{\"time_us\":";

struct TypeName {
  EventType type;
  const char* name;
  int priority;
};
constexpr TypeName kTypes[] = {
    {EventType::kError, "error", LOG_ERR},
    {EventType::kWarning, "warning", LOG_WARNING},
    {EventType::kInformation, "information", LOG_INFO},
};

const TypeName& Describe(EventType type) {
  for (const TypeName& each : kTypes)
    if (each.type == type) return each;
  return kTypes[2];
}

std::int64_t NowMicroseconds() {
  using std::chrono::duration_cast, std::chrono::microseconds, std::chrono::system_clock;
  return duration_cast<microseconds>(system_clock::now().time_since_epoch()).count();
}

// Text that is damaged is shown as far as it goes: a record must not be lost for it.
std::string ToLine(const EventRecord& record) {
  Json line;
  line["time_us"] = NowMicroseconds();
  line["source"] = Utf8ForDisplay(record.source);
  line["type"] = Describe(record.type).name;
  line["category"] = record.category;
  line["id"] = record.id;
  if (record.user_sid) line["user"] = Utf8ForDisplay(*record.user_sid);
  Json& strings = line["strings"] = Json::array();
  for (const std::u16string& text : record.strings) strings.push_back(Utf8ForDisplay(text));
  return line.dump() + "\n";
}

bool FromLine(const std::string& line, EventRecord& out) {
  // A record that was cut off, by a full disk or a crash, is continued by the next one.
  const std::size_t start = line.rfind(kRecordStart);
  if (start == std::string::npos) return false;
  const Json json = Json::parse(line.substr(start), nullptr, false);
  if (json.is_discarded()) return false;
  try {
    out.time_us = json.at("time_us").get<std::int64_t>();
    out.source = Utf16ForDisplay(json.at("source").get<std::string>());
    const auto type = json.at("type").get<std::string>();
    for (const TypeName& each : kTypes)
      if (type == each.name) out.type = each.type;
    out.category = json.at("category").get<std::uint16_t>();
    out.id = json.at("id").get<std::uint32_t>();
    if (json.contains("user")) out.user_sid = Utf16ForDisplay(json.at("user").get<std::string>());
    for (const auto& text : json.at("strings").get<std::vector<std::string>>())
      out.strings.push_back(Utf16ForDisplay(text));
  } catch (const nlohmann::json::exception&) {
    return false;
  }
  return true;
}

void SendToSyslog(const EventRecord& record) {
  if (access("/dev/log", W_OK) != 0) return;
  std::string text;
  for (const std::u16string& each : record.strings) text += " | " + Utf8ForDisplay(each);
  std::replace_if(
      text.begin(), text.end(), [](unsigned char c) { return c < 0x20; }, ' ');
  syslog(LOG_DAEMON | Describe(record.type).priority, "%s: event 0x%08X%s",
         Utf8ForDisplay(record.source).c_str(), record.id, text.c_str());
}

Win32Error FromWriteErrno(int error) {
  switch (error) {
    case ENOENT:
    case ENOTDIR:
      return ERROR_PATH_NOT_FOUND;
    case EACCES:
    case EPERM:
    case EROFS:
      return ERROR_ACCESS_DENIED;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
      return ERROR_DISK_FULL;
    default:
      return ERROR_WRITE_FAULT;
  }
}

Win32Error AppendAtOnce(const std::string& file, const std::string& line) {
  const int flags = O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW;
  const int descriptor = open(file.c_str(), flags, 0600);
  if (descriptor < 0) return FromWriteErrno(errno);
  ssize_t written = 0;
  do written = write(descriptor, line.data(), line.size());
  while (written < 0 && errno == EINTR);
  const int error = written < 0 ? errno : ENOSPC;
  close(descriptor);
  return written == static_cast<ssize_t>(line.size()) ? ERROR_SUCCESS : FromWriteErrno(error);
}

// The file is opened for each record, so that one that was moved away for keeping is begun anew.
class FolderEventLog final : public EventLog {
 public:
  explicit FolderEventLog(const std::string& folder)
      : folder_(folder), file_(folder + "/events.jsonl") {
    MakeFolder();
  }

  Win32Error Report(const EventRecord& record) override {
    try {
      const std::string line = ToLine(record);
      Win32Error error = AppendAtOnce(file_, line);
      if (error == ERROR_PATH_NOT_FOUND) {
        MakeFolder();
        error = AppendAtOnce(file_, line);
      }
      SendToSyslog(record);
      return error;
    } catch (const std::bad_alloc&) {
      return ERROR_NOT_ENOUGH_MEMORY;
    }
  }

  std::uint64_t Read(std::uint64_t offset,
                     const std::function<void(const EventRecord&)>& visit) const override {
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(file_, error);
    // A file that became shorter is another one.
    if (!error && offset > size) offset = 0;
    std::ifstream file(file_, std::ios::binary);
    file.seekg(static_cast<std::streamoff>(offset));
    std::string line;
    // The last line may still be on its way: it counts once its end is there.
    while (std::getline(file, line) && !file.eof()) {
      offset += line.size() + 1;
      EventRecord record;
      if (FromLine(line, record)) visit(record);
    }
    return offset;
  }

 private:
  void MakeFolder() const {
    std::error_code error;
    std::filesystem::create_directories(std::filesystem::path(folder_).parent_path(), error);
    mkdir(folder_.c_str(), 0700);
  }

  std::string folder_;
  std::string file_;
};

}  // namespace

std::unique_ptr<EventLog> OpenEventLogFolder(const std::string& folder) {
  return std::make_unique<FolderEventLog>(folder);
}

}  // namespace kelvarion::platform
