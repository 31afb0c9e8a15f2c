#include "platform/authn/check_process.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <exception>

namespace kelvarion::platform {
namespace {

[[noreturn]] void Work(const std::function<std::string()>& work, int output, pid_t parent) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(1);
  // What others wait for is none of this process's business, nor of the programs it may run.
  close_range(STDERR_FILENO + 1, static_cast<unsigned>(output) - 1, 0);
  close_range(static_cast<unsigned>(output) + 1, ~0U, 0);
  try {
    const std::string text = work();
    _exit(WriteAll(output, text.data(), text.size()) == ERROR_SUCCESS ? 0 : 1);
  } catch (const std::exception&) {
    _exit(1);
  }
}

}  // namespace

std::unique_ptr<CheckProcess> CheckProcess::Start(const std::function<std::string()>& work) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return nullptr;
  Descriptor output(ends[0]);
  const Descriptor input(ends[1]);
  const pid_t parent = getpid();
  const pid_t pid = fork();
  if (pid == 0) Work(work, input.get(), parent);
  if (pid < 0) return nullptr;
  return std::unique_ptr<CheckProcess>(new CheckProcess(pid, std::move(output)));
}

CheckProcess::~CheckProcess() {
  kill(pid_, SIGKILL);
  while (waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) {
  }
}

bool CheckProcess::Take() {
  char buffer[16 * 1024];
  const ssize_t count = read(output_.get(), buffer, sizeof buffer);
  if (count > 0) text_.append(buffer, static_cast<std::size_t>(count));
  return count == 0 || (count < 0 && errno != EINTR);
}

}  // namespace kelvarion::platform
