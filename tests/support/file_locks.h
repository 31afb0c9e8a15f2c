// Who waits for the lock of a file.
#pragma once

#include <sys/stat.h>

#include <fstream>
#include <string>

namespace kelvarion::testing {

// Whether somebody waits for the lock of the file that the name stands for now.
inline bool IsWaitedFor(const std::string& file) {
  struct stat status {};
  if (stat(file.c_str(), &status) != 0) return false;
  std::ifstream locks("/proc/locks");
  const std::string inode = ":" + std::to_string(status.st_ino) + " ";
  for (std::string line; std::getline(locks, line);)
    if (line.find("-> FLOCK") != std::string::npos && line.find(inode) != std::string::npos)
      return true;
  return false;
}

}  // namespace kelvarion::testing
