#include "ormu/service/service_log.h"

#include <ctime>
#include <filesystem>

#include "platform/text/encoding.h"

namespace kelvarion::ormu {
namespace {

constexpr std::streamoff kLargestFile = 4 * 1024 * 1024;
constexpr int kReportsAMinute = 20;
// What kelvarionctl has words for.
constexpr std::uint32_t kSlaveFails = 0xC0000BB8;
constexpr std::uint32_t kSlaveFollowsAgain = 3001;
constexpr std::uint32_t kWarning = 0x800007D4;

std::string Now() {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
  gmtime_r(&now, &parts);
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ ", &parts);
  return text;
}

// Others write what they like into names and messages; a line is one entry.
std::string OneLine(std::string text) {
  for (char& c : text)
    if (static_cast<unsigned char>(c) < ' ') c = ' ';
  return text;
}

}  // namespace

ServiceLog::ServiceLog(std::string file, platform::EventLog& events)
    : path_(std::move(file)), events_(events), limit_(kReportsAMinute) {
  Open();
}

void ServiceLog::Open() {
  using std::filesystem::perms;
  file_.open(path_, std::ios::app | std::ios::ate);
  std::error_code ignored;
  std::filesystem::permissions(path_, perms::owner_read | perms::owner_write | perms::group_read,
                               ignored);
}

void ServiceLog::Note(const std::string& text) {
  const std::lock_guard lock(mutex_);
  if (file_.tellp() > kLargestFile) {
    file_.close();
    std::error_code ignored;
    std::filesystem::rename(path_, path_ + ".1", ignored);
    Open();
  }
  file_ << Now() << OneLine(text) << std::endl;
  if (file_.fail()) file_.clear();  // The disk may have room again.
}

void ServiceLog::Report(platform::EventType type, std::uint32_t id,
                        std::vector<std::u16string> strings) {
  platform::EventRecord record;
  record.source = u"ormusvc";
  record.category = 1;
  const std::lock_guard lock(mutex_);
  if (!limit_.Allows(platform::ReportLimit::Clock::now())) return;
  if (const int unreported = limit_.TakeUnreported()) {
    record.type = platform::EventType::kWarning;
    record.id = kWarning;
    record.strings = {
        platform::Utf16ForDisplay(std::to_string(unreported) +
                                  " more changes of slaves are in the replication service's log")};
    events_.Report(record);
  }
  record.type = type;
  record.id = id;
  record.strings = std::move(strings);
  events_.Report(record);
}

void ServiceLog::ReportFailure(const std::string& slave, const std::string& reason) {
  Note(slave + ": " + reason);
  Report(platform::EventType::kError, kSlaveFails,
         {platform::Utf16ForDisplay(slave), platform::Utf16ForDisplay(reason)});
}

void ServiceLog::ReportRecovery(const std::string& slave) {
  Note(slave + ": follows its master again");
  Report(platform::EventType::kInformation, kSlaveFollowsAgain, {platform::Utf16ForDisplay(slave)});
}

}  // namespace kelvarion::ormu
