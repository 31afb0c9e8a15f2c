#include "platform/services/program.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>

namespace kelvarion::platform {
namespace {

class SpawnSetup {
 public:
  explicit SpawnSetup(int output) {
    posix_spawn_file_actions_init(&actions_);
    posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions_, output, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions_, output, STDERR_FILENO);
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_init(&attributes_);
    posix_spawnattr_setsigmask(&attributes_, &none);
    posix_spawnattr_setsigdefault(&attributes_, &all);
    posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  }
  ~SpawnSetup() {
    posix_spawnattr_destroy(&attributes_);
    posix_spawn_file_actions_destroy(&actions_);
  }
  SpawnSetup(const SpawnSetup&) = delete;
  SpawnSetup& operator=(const SpawnSetup&) = delete;

  const posix_spawn_file_actions_t* actions() const { return &actions_; }
  const posix_spawnattr_t* attributes() const { return &attributes_; }

 private:
  posix_spawn_file_actions_t actions_;
  posix_spawnattr_t attributes_;
};

// Reads until the end or until the time is over; false for the latter.
bool ReadToEnd(int descriptor, int timeout_ms, std::string& out) {
  using Clock = std::chrono::steady_clock;
  const Clock::time_point end = Clock::now() + std::chrono::milliseconds(timeout_ms);
  for (;;) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
    pollfd wait{descriptor, POLLIN, 0};
    const int ready = left.count() > 0 ? poll(&wait, 1, static_cast<int>(left.count())) : 0;
    if (ready == 0) return false;
    char buffer[4096];
    const ssize_t count = ready < 0 ? -1 : read(descriptor, buffer, sizeof buffer);
    if (count == 0) return true;
    if (count > 0)
      out.append(buffer, static_cast<std::size_t>(count));
    else if (errno != EINTR)
      return true;
  }
}

}  // namespace

int SpawnProgram(const std::string& program, const std::vector<std::string>& arguments, int output,
                 int& pid) {
  std::vector<char*> argv{const_cast<char*>(program.c_str())};
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  const SpawnSetup setup(output);
  return posix_spawn(&pid, program.c_str(), setup.actions(), setup.attributes(), argv.data(),
                     environ);
}

ProgramResult RunProgram(const std::string& program, const std::vector<std::string>& arguments,
                         int timeout_ms) {
  ProgramResult result;
  int pipe_ends[2];
  if (pipe2(pipe_ends, O_CLOEXEC) != 0) return {errno, 0, {}};
  int pid = 0;
  result.error = SpawnProgram(program, arguments, pipe_ends[1], pid);
  close(pipe_ends[1]);
  if (result.error == 0) {
    if (!ReadToEnd(pipe_ends[0], timeout_ms, result.output)) kill(pid, SIGKILL);
    while (waitpid(pid, &result.exit_status, 0) < 0 && errno == EINTR) {
    }
  }
  close(pipe_ends[0]);
  return result;
}

}  // namespace kelvarion::platform
