// The process that stands beside a running service: it starts the service's program, knows how it
// ended, and keeps the service's record true.
//
// Signals are its requests: SIGTERM stops the program, SIGHUP starts it anew. Whoever starts the
// supervisor holds the service's lock and reads one answer from its standard output: the error, or
// 0, as a number. With the answer the first record stands, so that nobody who comes after a caller
// that was killed starts the service a second time.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "platform/services/service.h"
#include "platform/services/service_record.h"

namespace kelvarion::platform {

// A supervisor that said nothing has failed with ERROR_SERVICE_REQUEST_TIMEOUT.
Win32Error ParseSupervisorAnswer(const std::string& text);

class Supervisor {
 public:
  explicit Supervisor(Service service);

  // Blocks the signals that are requests, starts the program and records it.
  Win32Error Start();
  // Returns when the program has ended for good, everything it left behind has been ended too, and
  // the record says how it went.
  void Run();

 private:
  using Clock = std::chrono::steady_clock;

  Win32Error Spawn();
  void Handle(int signal);
  void BeginStop();
  void Insist();
  void NoteReadiness();
  void Reap();
  void OnEnd(int exit_status);
  Win32Error ExitCode(int exit_status) const;
  void Record(Phase phase, Win32Error exit_code = ERROR_SUCCESS);
  Clock::duration Patience() const;

  Service service_;
  ServiceRecord record_;
  std::uint64_t log_start_ = 0;
  bool ready_ = false;  // The present process has accepted requests.
  bool ended_ = false;
  int insistence_ = 0;  // How often the process has been told to stop.
  Clock::time_point insist_at_{};
};

// The whole life of the supervisor's process, which leaves its caller's session and everything it
// inherited behind.
int SupervisorMain(const std::string& home, const std::string& service_name);

}  // namespace kelvarion::platform
