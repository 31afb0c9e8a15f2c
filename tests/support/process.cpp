#include "tests/support/process.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace kelvarion::testing {
namespace {

// Output goes to memory instead of a pipe: nothing blocks, however much there is, and a service
// that keeps the descriptor open does not hold up the reader.
int OpenMemory(const char* name) {
  const int memory = memfd_create(name, MFD_CLOEXEC);
  if (memory < 0) throw std::runtime_error("memfd_create fails");
  return memory;
}

std::string ReadAndClose(int memory) {
  std::string text(static_cast<std::size_t>(lseek(memory, 0, SEEK_END)), '\0');
  const ssize_t count = pread(memory, text.data(), text.size(), 0);
  close(memory);
  text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
  return text;
}

[[noreturn]] void Execute(const std::vector<char*>& arguments, int out, int err) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  dup2(open("/dev/null", O_RDONLY), STDIN_FILENO);
  dup2(out, STDOUT_FILENO);
  dup2(err, STDERR_FILENO);
  setenv("LC_ALL", "C.UTF-8", 1);
  unsetenv("KELVARION_HOME");
  execvp(arguments.front(), arguments.data());
  dprintf(STDERR_FILENO, "%s: %s\n", arguments.front(), strerror(errno));
  _exit(127);
}

}  // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& arguments)
    : out_(OpenMemory("out")), err_(OpenMemory("err")) {
  std::vector<char*> pointers;
  for (const std::string& argument : arguments)
    pointers.push_back(const_cast<char*>(argument.c_str()));
  pointers.push_back(nullptr);
  pid_ = fork();
  if (pid_ == 0) Execute(pointers, out_, err_);
  if (pid_ < 0) throw std::runtime_error("fork fails");
}

ChildProcess::ChildProcess(ChildProcess&& other) noexcept
    : pid_(std::exchange(other.pid_, 0)), out_(other.out_), err_(other.err_) {}

ChildProcess::~ChildProcess() {
  if (pid_ == 0) return;
  Kill();
  Wait();
}

void ChildProcess::Kill() const { kill(pid_, SIGKILL); }

void ChildProcess::Terminate() const { kill(pid_, SIGTERM); }

ProcessResult ChildProcess::Wait() {
  int status = 0;
  waitpid(std::exchange(pid_, 0), &status, 0);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), ReadAndClose(out_),
          ReadAndClose(err_)};
}

ProcessResult RunProcess(const std::vector<std::string>& arguments) {
  return ChildProcess(arguments).Wait();
}

}  // namespace kelvarion::testing
