// Programs that work for this one and are talked to in lines.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/com/types.h"

namespace kelvarion::platform {

// One running program, whose standard input and output are ours; what it says on standard error is
// dropped. Killed, if it still runs, and waited for on destruction. Lines may be written and read
// by one thread while others kill.
class LineProgram {
 public:
  // ERROR_FILE_NOT_FOUND when there is no such program.
  static Win32Error Start(const std::string& program, const std::vector<std::string>& arguments,
                          std::unique_ptr<LineProgram>& out);
  ~LineProgram();
  LineProgram(const LineProgram&) = delete;
  LineProgram& operator=(const LineProgram&) = delete;

  // Both false once the program has ended. Lines are without their line feeds.
  bool Write(const std::string& line);
  bool Read(std::string& line);
  void Kill() const;

 private:
  LineProgram(int pid, int socket) : pid_(pid), socket_(socket) {}

  int pid_;
  int socket_;
  std::string ahead_;  // Read, but not asked for yet.
};

}  // namespace kelvarion::platform
