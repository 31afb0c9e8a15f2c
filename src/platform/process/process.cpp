#include "platform/process/process.h"

#include <malloc.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <set>

namespace kelvarion::platform {
namespace {

std::u16string GroupSid(gid_t gid) {
  std::u16string sid = u"S-1-22-2-";
  for (const char digit : std::to_string(gid)) sid += static_cast<char16_t>(digit);
  return sid;
}

}  // namespace

// Left alone, the library gives each thread a heap of its own and keeps in each as much as was ever
// freed at once.
void KeepLittleMemory() {
  mallopt(M_ARENA_MAX, 4);
  mallopt(M_MMAP_THRESHOLD, 256 * 1024);
  mallopt(M_TRIM_THRESHOLD, 1024 * 1024);
}

std::string ProgramPath() {
  std::error_code error;
  return std::filesystem::read_symlink("/proc/self/exe", error).string();
}

bool RunsAsRoot() { return geteuid() == 0; }

std::vector<std::u16string> CurrentGroupSids() {
  std::set<gid_t> ids{getegid()};
  std::vector<gid_t> list(static_cast<std::size_t>(std::max(getgroups(0, nullptr), 0)));
  const int count = getgroups(static_cast<int>(list.size()), list.data());
  if (count > 0) ids.insert(list.begin(), list.begin() + count);
  std::vector<std::u16string> sids;
  for (const gid_t id : ids) sids.push_back(GroupSid(id));
  return sids;
}

void KeepNewFilesPrivate() { umask(077); }

void IgnoreBrokenPipes() { signal(SIGPIPE, SIG_IGN); }

bool OutputIsTerminal() { return isatty(STDOUT_FILENO) == 1; }
bool ErrorOutputIsTerminal() { return isatty(STDERR_FILENO) == 1; }

int TerminalWidth() {
  winsize size{};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return 80;
  return size.ws_col;
}

}  // namespace kelvarion::platform
