#include "platform/services/process_identity.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string_view>
#include <thread>

namespace kelvarion::platform {
namespace {

namespace fs = std::filesystem;

struct Stat {
  char state = 0;
  int session = 0;
  std::uint64_t start_ticks = 0;
};

// What could be read; a process that ends meanwhile makes the read fail.
std::string ReadProc(int pid, const char* name) {
  std::string text;
  const std::string path = "/proc/" + std::to_string(pid) + "/" + name;
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0) return text;
  char buffer[4096];
  for (ssize_t count = 0; (count = read(file, buffer, sizeof buffer)) > 0;)
    text.append(buffer, static_cast<std::size_t>(count));
  close(file);
  return text;
}

// The names in a folder of /proc, as far as they could be read.
std::vector<std::string> Names(const std::string& folder) {
  std::vector<std::string> names;
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
       entry.increment(error))
    names.push_back(entry->path().filename().string());
  return names;
}

bool ReadStat(int pid, Stat& out) {
  const std::string text = ReadProc(pid, "stat");
  // The program's name stands in parentheses and may hold any character, parentheses too.
  const std::size_t name_end = text.rfind(')');
  if (name_end == std::string::npos) return false;
  std::istringstream fields(text.substr(name_end + 1));
  int parent = 0;
  int group = 0;
  fields >> out.state >> parent >> group >> out.session;
  constexpr int kFieldsUpToStartTime = 15;  // From the terminal to the interval timer.
  std::string skipped;
  for (int i = 0; i < kFieldsUpToStartTime; ++i) fields >> skipped;
  fields >> out.start_ticks;
  return !fields.fail() && out.state != 'Z' && out.state != 'X';
}

fs::path LinkTarget(const fs::path& link) {
  std::error_code error;
  return fs::read_symlink(link, error);
}

}  // namespace

ProcessIdentity IdentityOf(int pid) {
  Stat stat;
  if (pid <= 0 || !ReadStat(pid, stat)) return {};
  return {pid, stat.start_ticks};
}

bool IsRunning(const ProcessIdentity& process) {
  return process.pid > 0 && IdentityOf(process.pid) == process;
}

bool HasArgument(const ProcessIdentity& process, const std::string& argument) {
  std::istringstream arguments(ReadProc(process.pid, "cmdline"));
  for (std::string each; std::getline(arguments, each, '\0');)
    if (each == argument) return IsRunning(process);
  return false;
}

bool SignalProcess(const ProcessIdentity& process, int signal) {
  const int handle = static_cast<int>(syscall(SYS_pidfd_open, process.pid, 0));
  if (handle < 0) return false;
  // The handle stays with the process that has the id now; only then is it worth asking which.
  const bool sent =
      IsRunning(process) && syscall(SYS_pidfd_send_signal, handle, signal, nullptr, 0) == 0;
  close(handle);
  return sent;
}

bool Catches(const ProcessIdentity& process, int signal) {
  constexpr std::string_view kCaught = "SigCgt:";
  const std::string status = ReadProc(process.pid, "status");
  const std::size_t line = status.find(kCaught);
  if (line == std::string::npos || !IsRunning(process)) return false;
  const auto caught = std::strtoull(status.c_str() + line + kCaught.size(), nullptr, 16);
  return (caught >> (signal - 1) & 1) != 0;
}

bool SignalWhenCaught(const ProcessIdentity& process, int signal) {
  constexpr std::chrono::milliseconds kPoll{10};
  constexpr int kPolls = 500;
  for (int i = 0; i < kPolls && IsRunning(process); ++i) {
    if (Catches(process, signal)) return SignalProcess(process, signal);
    std::this_thread::sleep_for(kPoll);
  }
  return false;
}

// The session's leader is left out.
std::vector<ProcessIdentity> ProcessesOfSession(int session, const std::string& argument) {
  std::vector<ProcessIdentity> found;
  for (const std::string& name : Names("/proc")) {
    const int pid = std::atoi(name.c_str());
    Stat stat;
    if (pid <= 0 || pid == session || !ReadStat(pid, stat) || stat.session != session) continue;
    const ProcessIdentity process{pid, stat.start_ticks};
    if (HasArgument(process, argument)) found.push_back(process);
  }
  return found;
}

void EndSession(int session, const std::string& argument) {
  constexpr std::chrono::milliseconds kPoll{20};
  constexpr int kPolls = 100;
  for (int i = 0; i < kPolls; ++i) {
    const std::vector<ProcessIdentity> left = ProcessesOfSession(session, argument);
    if (left.empty()) return;
    // Half of the time is for those that end when they are asked.
    if (i == 0 || i == kPolls / 2)
      for (const ProcessIdentity& process : left)
        SignalProcess(process, i == 0 ? SIGTERM : SIGKILL);
    std::this_thread::sleep_for(kPoll);
  }
}

std::vector<std::uint64_t> SocketsOf(const ProcessIdentity& process) {
  constexpr std::string_view kSocket = "socket:[";
  std::vector<std::uint64_t> inodes;
  const std::string folder = "/proc/" + std::to_string(process.pid) + "/fd";
  for (const std::string& name : Names(folder)) {
    const std::string target = LinkTarget(fs::path(folder) / name).string();
    if (target.starts_with(kSocket))
      inodes.push_back(std::strtoull(target.c_str() + kSocket.size(), nullptr, 10));
  }
  return inodes;
}

}  // namespace kelvarion::platform
