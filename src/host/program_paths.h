// Where a program of this system finds what belongs to it, relative to itself: the same in the
// build tree and where it is installed.
#pragma once

#include <string>

namespace kelvarion::host {

// UTF-8 paths; whether the files exist is not looked at.
struct ProgramPaths {
  std::string schema;         // share/kelvarion/schema
  std::string server;         // share/kelvarion/server
  std::string provider;       // lib/libkelvarion_provider.so
  std::string httpd_modules;  // lib/httpd: the modules of our own for Apache.
  std::string programs;       // bin
};

ProgramPaths FindProgramPaths();

}  // namespace kelvarion::host
