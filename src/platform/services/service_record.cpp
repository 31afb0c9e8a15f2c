#include "platform/services/service_record.h"

#include <array>
#include <charconv>
#include <sstream>

#include "platform/files/files.h"

namespace kelvarion::platform {
namespace {

constexpr std::array<const char*, 5> kPhaseNames{"stopped", "starting", "running", "restarting",
                                                 "stopping"};

}  // namespace

Win32Error ReadRecord(const Service& service, ServiceRecord& out) {
  out = {};
  std::string bytes;
  const Win32Error error = ReadWholeFile(PathFromNative(service.File(".status")), bytes);
  if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND) return ERROR_SUCCESS;
  if (error != ERROR_SUCCESS) return error;
  std::istringstream text(bytes);
  ServiceRecord record;
  std::string phase;
  text >> phase >> record.exit_code >> record.supervisor.pid >> record.supervisor.start_ticks >>
      record.process.pid >> record.process.start_ticks;
  if (text.fail()) return ERROR_SUCCESS;
  for (std::size_t i = 0; i < kPhaseNames.size(); ++i)
    if (phase == kPhaseNames[i]) record.phase = static_cast<Phase>(i);
  out = record;
  return ERROR_SUCCESS;
}

Win32Error WriteRecord(const Service& service, const ServiceRecord& record) {
  std::ostringstream text;
  text << kPhaseNames[static_cast<std::size_t>(record.phase)] << ' ' << record.exit_code << '\n'
       << record.supervisor.pid << ' ' << record.supervisor.start_ticks << '\n'
       << record.process.pid << ' ' << record.process.start_ticks << '\n';
  return ReplaceSmallFile(service.File(".status"), text.str());
}

void WriteFailure(const Service& service, const std::string& text) {
  const std::string path = service.File(".failure");
  // The text only explains what the exit code says; a disk that cannot take it changes nothing.
  if (text.empty())
    DeleteFile(PathFromNative(path));
  else
    ReplaceSmallFile(path, text);
}

std::string ReadFailure(const Service& service) { return ReadSmallFile(service.File(".failure")); }

Win32Error ReplaceSmallFile(const std::string& path, const std::string& text) {
  const std::u16string target = PathFromNative(path);
  bool created = false;
  const Win32Error error = CreateAndWriteFile(target + u".tmp", text, NewFile::kPrivate, created);
  if (error != ERROR_SUCCESS) return error;
  return MoveFileReplacing(target + u".tmp", target, NewFile::kPrivate);
}

std::string ReadSmallFile(const std::string& path) {
  std::string text;
  if (ReadWholeFile(PathFromNative(path), text) != ERROR_SUCCESS) text.clear();
  return text;
}

}  // namespace kelvarion::platform
