// Programs run for their result.
#pragma once

#include <string>
#include <vector>

namespace kelvarion::platform {

struct ProgramResult {
  int error = 0;        // errno of a program that could not be started.
  int exit_status = 0;  // As waitpid reports it.
  std::string output;   // Both standard streams.
  bool Succeeded() const { return error == 0 && exit_status == 0; }
};

// Runs the program to its end; one that takes longer is killed. Descriptors that are not
// close-on-exec reach it.
ProgramResult RunProgram(const std::string& program, const std::vector<std::string>& arguments,
                         int timeout_ms);

// Starts a program with an empty signal mask and default signal actions. Its standard input is
// empty, its other standard streams go to the descriptor. 0, or errno.
int SpawnProgram(const std::string& program, const std::vector<std::string>& arguments, int output,
                 int& pid);

}  // namespace kelvarion::platform
