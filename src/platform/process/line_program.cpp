#include "platform/process/line_program.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include "platform/files/files.h"

namespace kelvarion::platform {
namespace {

// 0, or errno. The program gets default signals and no descriptors but its standard ones.
int Spawn(const std::string& program, const std::vector<std::string>& arguments, int socket,
          int& pid) {
  std::vector<char*> argv{const_cast<char*>(program.c_str())};
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, socket, STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, socket, STDOUT_FILENO);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  sigset_t none;
  sigset_t all;
  sigemptyset(&none);
  sigfillset(&all);
  posix_spawnattr_setsigmask(&attributes, &none);
  posix_spawnattr_setsigdefault(&attributes, &all);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  const int error = posix_spawn(&pid, program.c_str(), &actions, &attributes, argv.data(), environ);
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  return error;
}

}  // namespace

Win32Error LineProgram::Start(const std::string& program, const std::vector<std::string>& arguments,
                              std::unique_ptr<LineProgram>& out) {
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) return FromErrno(errno);
  int pid = 0;
  const int error = Spawn(program, arguments, ends[1], pid);
  close(ends[1]);
  if (error != 0) {
    close(ends[0]);
    return FromErrno(error);
  }
  out.reset(new LineProgram(pid, ends[0]));
  return ERROR_SUCCESS;
}

LineProgram::~LineProgram() {
  Kill();
  close(socket_);
  while (waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) {
  }
}

// The number stays the program's until it is waited for.
void LineProgram::Kill() const { kill(pid_, SIGKILL); }

bool LineProgram::Write(const std::string& line) {
  const std::string text = line + '\n';
  for (std::size_t done = 0; done < text.size();) {
    const ssize_t sent = send(socket_, text.data() + done, text.size() - done, MSG_NOSIGNAL);
    if (sent < 0 && errno == EINTR) continue;
    if (sent <= 0) return false;
    done += static_cast<std::size_t>(sent);
  }
  return true;
}

bool LineProgram::Read(std::string& line) {
  for (;;) {
    if (const std::size_t end = ahead_.find('\n'); end != std::string::npos) {
      line = ahead_.substr(0, end);
      ahead_.erase(0, end + 1);
      return true;
    }
    char buffer[4096];
    const ssize_t got = recv(socket_, buffer, sizeof buffer, 0);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return false;
    ahead_.append(buffer, static_cast<std::size_t>(got));
  }
}

}  // namespace kelvarion::platform
