// Programs that tests run: to their end, or until they are killed.
#pragma once

#include <string>
#include <vector>

namespace kelvarion::testing {

struct ProcessResult {
  int exit_code = -1;  // 128 + the signal for a process that was killed.
  std::string out;
  std::string err;
  std::string all() const { return out + err; }
};

// One running program, found by PATH unless it is a path; its standard input is empty. Killed, with
// nothing said, when it still runs on destruction.
class ChildProcess {
 public:
  explicit ChildProcess(const std::vector<std::string>& arguments);
  ~ChildProcess();
  ChildProcess(ChildProcess&& other) noexcept;
  ChildProcess& operator=(ChildProcess&&) = delete;

  void Kill() const;
  void Terminate() const;
  int pid() const { return pid_; }
  ProcessResult Wait();

 private:
  int pid_ = 0;
  int out_ = -1;
  int err_ = -1;
};

ProcessResult RunProcess(const std::vector<std::string>& arguments);

}  // namespace kelvarion::testing
