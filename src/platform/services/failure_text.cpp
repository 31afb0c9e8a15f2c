#include "platform/services/failure_text.h"

#include <sys/wait.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <vector>

#include "platform/services/service_record.h"

namespace kelvarion::platform {
namespace {

constexpr std::uint64_t kReadAtMost = 64 * 1024;
constexpr std::size_t kLines = 8;

bool IsError(const std::string& line) {
  for (const char* level : {":emerg]", ":alert]", ":crit]", ":error]"})
    if (line.find(level) != std::string::npos) return true;
  return false;
}

// Without the time and the process id that lead a line of the log.
std::string WithoutPrefix(const std::string& line) {
  const std::size_t process = line.find("[pid ");
  const std::size_t end = process == std::string::npos ? process : line.find("] ", process);
  return end == std::string::npos ? line : line.substr(end + 2);
}

std::vector<std::string> ReadLog(const Service& service, std::uint64_t start) {
  std::ifstream file(service.log, std::ios::binary);
  const std::uint64_t length = LogLength(service);
  if (start > length) start = 0;  // The log was begun anew.
  file.seekg(static_cast<std::streamoff>(
      std::max(start, length > kReadAtMost ? length - kReadAtMost : 0)));
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);) lines.push_back(line);
  return lines;
}

std::string WordsOfLog(const Service& service, int pid, std::uint64_t start) {
  std::vector<std::string> lines = ReadLog(service, start);
  const std::string speaker = "[pid " + std::to_string(pid) + ":";
  std::erase_if(lines, [&](const std::string& line) { return line.find(speaker) == line.npos; });
  if (std::any_of(lines.begin(), lines.end(), IsError))
    std::erase_if(lines, [](const std::string& line) { return !IsError(line); });
  if (lines.size() > kLines) lines.erase(lines.begin(), lines.end() - kLines);
  std::string text;
  for (const std::string& line : lines) text += line + "\n";
  return text;
}

std::string HowItEnded(int exit_status) {
  if (WIFSIGNALED(exit_status))
    return std::string("The process was ended by a signal: ") + strsignal(WTERMSIG(exit_status)) +
           ".\n";
  return "The process ended by itself with code " + std::to_string(WEXITSTATUS(exit_status)) +
         ".\n";
}

}  // namespace

std::uint64_t LogLength(const Service& service) {
  std::error_code error;
  const std::uintmax_t length = std::filesystem::file_size(service.log, error);
  return error ? 0 : length;
}

std::string PlainWords(const std::string& output) {
  std::istringstream lines(output);
  std::string text;
  for (std::string line; std::getline(lines, line);)
    if (!line.empty()) text += (text.empty() ? "" : "\n") + WithoutPrefix(line);
  return text;
}

std::string FailureText(const Service& service, int pid, int exit_status, std::uint64_t log_start) {
  return PlainWords(HowItEnded(exit_status) + ReadSmallFile(service.File(".err")) + "\n" +
                    WordsOfLog(service, pid, log_start));
}

}  // namespace kelvarion::platform
