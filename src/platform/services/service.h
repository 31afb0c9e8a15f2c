// What the service manager and the supervisors know about each service of a home.
//
// A service's program stays in the foreground, writes its process id to run/<service>.pid once it
// accepts requests, and ends on SIGTERM. What belongs to a service lies in the server's run folder:
//   <service>.status   its state, replaced by rename (see service_record.h)
//   <service>.pid      written by the program itself
//   <service>.err      what the program wrote to its standard streams since its last start
//   <service>.failure  what went wrong with the last start or control, for people
//   <service>.lock     held while the state is changed
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/com/types.h"

namespace kelvarion::platform {

struct Service {
  std::string name;
  std::u16string display_name;
  std::uint32_t default_start_type = 0;
  std::string program;
  std::vector<std::string> arguments;
  // Given before the other arguments: to run, and to check the configuration only.
  std::vector<std::string> run_arguments;
  std::vector<std::string> check_arguments;
  std::string configuration;  // A file that must exist; empty for none.
  std::string log;            // Where the program reports once it runs; empty for none.
  // The argument by which a process is known to belong to this home.
  std::string mark;
  // The program ends gently on SIGWINCH and takes up its configuration on SIGUSR1.
  bool graceful = false;
  std::string run_folder;

  std::string File(std::string_view suffix) const {
    return run_folder + "/" + name + std::string(suffix);
  }
};

// Nothing for a name that is no service. Names compare ignoring case. `home` is absolute.
std::optional<Service> FindService(const std::string& home, std::u16string_view name);

// The account that a service of this process's user runs as.
std::u16string ServiceAccount();

// The program beside the running one (or in $KELVARION_LIBEXEC, or beside the library that holds
// this function); the first place it could be when it is nowhere.
std::string FindProgram(const std::string& name);

}  // namespace kelvarion::platform
