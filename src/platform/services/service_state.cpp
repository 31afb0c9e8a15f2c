#include "platform/services/service_state.h"

#include <signal.h>

#include <cstdlib>

#include "platform/files/files.h"

namespace kelvarion::platform {
namespace {

// The living process of this service that the pid file names.
ProcessIdentity ProcessOfPidFile(const Service& service) {
  const std::string text = ReadSmallFile(service.File(".pid"));
  const ProcessIdentity process = IdentityOf(std::atoi(text.c_str()));
  return HasArgument(process, service.mark) ? process : ProcessIdentity{};
}

std::uint32_t StateOfLiving(const Service& service, const ServiceRecord& record, bool supervised) {
  switch (record.phase) {
    case Phase::kStopping:
      return SERVICE_STOP_PENDING;
    case Phase::kRestarting:
      return supervised ? SERVICE_START_PENDING : SERVICE_RUNNING;
    case Phase::kStarting:
      return HasReported(service, record.process) ? SERVICE_RUNNING : SERVICE_START_PENDING;
    case Phase::kRunning:
    case Phase::kStopped:
      break;
  }
  return SERVICE_RUNNING;
}

// The process is gone and its supervisor is about to record how it ended or to start it again.
std::uint32_t StateOfEnding(const ServiceRecord& record) {
  switch (record.phase) {
    case Phase::kStopped:
      return SERVICE_STOPPED;
    case Phase::kStarting:
    case Phase::kRestarting:
      return SERVICE_START_PENDING;
    case Phase::kRunning:
    case Phase::kStopping:
      break;
  }
  return SERVICE_STOP_PENDING;
}

// Nobody is left: a record that does not say how it ended tells of a death unless it was to end.
Win32Error ExitCodeOfEnded(const ServiceRecord& record) {
  if (record.phase == Phase::kStopped) return record.exit_code;
  return record.phase == Phase::kStopping ? ERROR_SUCCESS : ERROR_PROCESS_ABORTED;
}

ServiceState Observe(const Service& service, const ServiceRecord& record) {
  ServiceState state;
  state.record = record;
  const bool supervised = HasArgument(record.supervisor, service.name);
  if (HasArgument(record.process, service.mark)) {
    state.process = record.process;
    state.status.current_state = StateOfLiving(service, record, supervised);
  } else if (supervised) {
    state.status.current_state = StateOfEnding(record);
    if (state.status.current_state == SERVICE_STOPPED)
      state.status.win32_exit_code = record.exit_code;
  } else if (state.process = ProcessOfPidFile(service); state.process.pid != 0) {
    state.status.current_state = SERVICE_RUNNING;
  } else {
    state.status.current_state = SERVICE_STOPPED;
    state.status.win32_exit_code = ExitCodeOfEnded(record);
  }
  return state;
}

}  // namespace

Win32Error ObserveService(const Service& service, ServiceState& out) {
  // Processes change while they are looked at; what was seen counts when the record stayed the
  // same.
  ServiceRecord record;
  Win32Error error = ReadRecord(service, record);
  while (error == ERROR_SUCCESS) {
    out = Observe(service, record);
    error = ReadRecord(service, record);
    if (record == out.record) break;
  }
  return error;
}

bool HasReported(const Service& service, const ProcessIdentity& process) {
  if (process.pid == 0 || std::atoi(ReadSmallFile(service.File(".pid")).c_str()) != process.pid)
    return false;
  // Its requests would be lost, or kill it, before it has handlers for them.
  return !service.graceful || Catches(process, SIGUSR1);
}

void RemoveStalePidFile(const Service& service) {
  if (ProcessOfPidFile(service).pid == 0) DeleteFile(PathFromNative(service.File(".pid")));
}

}  // namespace kelvarion::platform
