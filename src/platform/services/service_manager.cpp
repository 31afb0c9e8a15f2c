#include "platform/services/service_manager.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "platform/files/files.h"
#include "platform/services/failure_text.h"
#include "platform/services/program.h"
#include "platform/services/reload.h"
#include "platform/services/service.h"
#include "platform/services/service_state.h"
#include "platform/services/start_types.h"
#include "platform/services/supervisor.h"
#include "platform/text/encoding.h"

namespace kelvarion::platform {
namespace {

constexpr int kAnswerTimeoutMs = 30'000;

std::u16string CommandLine(const Service& service) {
  std::string line = "\"" + service.program + "\"";
  for (const auto* list : {&service.run_arguments, &service.arguments})
    for (const std::string& argument : *list)
      line += argument.find(' ') == std::string::npos ? " " + argument : " \"" + argument + "\"";
  return Utf16ForDisplay(line);
}

Win32Error Fail(const Service& service, Win32Error error, const std::string& text) {
  WriteFailure(service, text);
  return error;
}

// The run and log folders may be missing from a home that was copied without them.
Win32Error MakeFolders(const Service& service) {
  const Win32Error error = CreateDirectories(PathFromNative(service.run_folder));
  if (error != ERROR_SUCCESS || service.log.empty()) return error;
  return CreateDirectories(
      PathFromNative(std::filesystem::path(service.log).parent_path().string()));
}

Win32Error CheckInstalled(const Service& service, const std::string& supervisor) {
  for (const std::string& program : {service.program, supervisor})
    if (access(program.c_str(), X_OK) != 0)
      return Fail(service, ERROR_FILE_NOT_FOUND, "The program " + program + " does not exist.");
  if (!service.configuration.empty() && access(service.configuration.c_str(), R_OK) != 0)
    return Fail(service, ERROR_FILE_NOT_FOUND,
                "The configuration file " + service.configuration + " cannot be read.");
  return ERROR_SUCCESS;
}

class LinuxServiceManager : public ServiceManager {
 public:
  explicit LinuxServiceManager(const std::string& home)
      : home_(std::filesystem::absolute(home).lexically_normal().string()) {
    if (home_.size() > 1 && home_.ends_with('/')) home_.pop_back();
  }

  Win32Error QueryStatus(const std::u16string& name, ServiceStatus& out) const override {
    const std::optional<Service> service = FindService(home_, name);
    if (!service) return ERROR_SERVICE_DOES_NOT_EXIST;
    ServiceState state;
    const Win32Error error = ObserveService(*service, state);
    out = state.status;
    return error;
  }

  Win32Error QueryConfig(const std::u16string& name, ServiceConfig& out) const override {
    const std::optional<Service> service = FindService(home_, name);
    if (!service) return ERROR_SERVICE_DOES_NOT_EXIST;
    out = {};
    out.start_type = ReadStartType(home_, *service);
    out.binary_path = CommandLine(*service);
    out.start_name = ServiceAccount();
    out.display_name = service->display_name;
    return ERROR_SUCCESS;
  }

  Win32Error SetStartType(const std::u16string& name, std::uint32_t start_type) override {
    const std::optional<Service> service = FindService(home_, name);
    if (!service) return ERROR_SERVICE_DOES_NOT_EXIST;
    if (start_type < SERVICE_AUTO_START || start_type > SERVICE_DISABLED)
      return ERROR_INVALID_PARAMETER;
    return WriteStartType(home_, *service, start_type);
  }

  Win32Error Start(const std::u16string& name) override;
  Win32Error Control(const std::u16string& name, std::uint32_t control) override;

  std::u16string LastFailure(const std::u16string& name) const override {
    const std::optional<Service> service = FindService(home_, name);
    if (!service) return {};
    const std::string text = ReadFailure(*service);
    ServiceState state;
    if (text.empty() && ObserveService(*service, state) == ERROR_SUCCESS &&
        state.status.win32_exit_code != ERROR_SUCCESS)
      return u"The service's process and its supervisor were ended without a word.";
    return Utf16ForDisplay(text);
  }

  Win32Error CheckConfiguration(const std::u16string& name, std::u16string& reason) const override {
    const std::optional<Service> service = FindService(home_, name);
    if (!service) return ERROR_SERVICE_DOES_NOT_EXIST;
    if (service->check_arguments.empty()) return ERROR_SUCCESS;
    reason = Utf16ForDisplay(WhyUnusable(*service));
    return reason.empty() ? ERROR_SUCCESS : ERROR_SERVICE_SPECIFIC_ERROR;
  }

  // The program writes the file anew whenever it has read its configuration.
  std::int64_t ConfigurationTime(const std::u16string& name) const override {
    const std::optional<Service> service = FindService(home_, name);
    ServiceState state;
    if (!service || ObserveService(*service, state) != ERROR_SUCCESS ||
        state.status.current_state != SERVICE_RUNNING)
      return 0;
    struct stat status {};
    if (stat(service->File(".pid").c_str(), &status) != 0) return 0;
    return std::int64_t{status.st_mtim.tv_sec} * 1'000'000'000 + status.st_mtim.tv_nsec;
  }

 private:
  Win32Error Launch(const Service& service, const std::string& supervisor) const;
  static Win32Error Stop(const Service& service, const ServiceState& state);
  static Win32Error Restart(const Service& service, const ServiceState& state);

  std::string home_;
};

Win32Error LinuxServiceManager::Start(const std::u16string& name) {
  const std::optional<Service> service = FindService(home_, name);
  if (!service) return ERROR_SERVICE_DOES_NOT_EXIST;
  if (const Win32Error error = MakeFolders(*service); error != ERROR_SUCCESS) return error;
  const FileLock lock(PathFromNative(service->File(".lock")));
  if (lock.Error() != ERROR_SUCCESS) return lock.Error();
  if (ReadStartType(home_, *service) == SERVICE_DISABLED) return ERROR_SERVICE_DISABLED;
  ServiceState state;
  if (const Win32Error error = ObserveService(*service, state); error != ERROR_SUCCESS)
    return error;
  if (state.status.current_state != SERVICE_STOPPED) return ERROR_SERVICE_ALREADY_RUNNING;
  const std::string supervisor = FindProgram("kelvarion-supervisor");
  if (const Win32Error error = CheckInstalled(*service, supervisor); error != ERROR_SUCCESS)
    return error;
  // Where server and supervisor were killed, workers may have stayed and hold the addresses.
  if (state.record.supervisor.pid != 0) EndSession(state.record.supervisor.pid, service->mark);
  RemoveStalePidFile(*service);
  return Launch(*service, supervisor);
}

// The lock is held on behalf of the supervisor, which writes the first record.
Win32Error LinuxServiceManager::Launch(const Service& service,
                                       const std::string& supervisor) const {
  WriteFailure(service, "");
  const ProgramResult result = RunProgram(supervisor, {home_, service.name}, kAnswerTimeoutMs);
  const Win32Error error = ParseSupervisorAnswer(result.output);
  if (error == ERROR_SUCCESS) return error;
  return Fail(service, error, "The program " + service.program + " cannot be started.");
}

Win32Error LinuxServiceManager::Control(const std::u16string& name, std::uint32_t control) {
  const std::optional<Service> service = FindService(home_, name);
  if (!service) return ERROR_SERVICE_DOES_NOT_EXIST;
  const FileLock lock(PathFromNative(service->File(".lock")));
  ServiceState state;
  if (const Win32Error error = ObserveService(*service, state); error != ERROR_SUCCESS)
    return error;
  if (state.status.current_state == SERVICE_STOPPED) return ERROR_SERVICE_NOT_ACTIVE;
  if (lock.Error() != ERROR_SUCCESS) return lock.Error();
  switch (control) {
    case SERVICE_CONTROL_STOP:
      return Stop(*service, state);
    case SERVICE_CONTROL_RESTART:
      if (service->graceful) return Restart(*service, state);
      break;
    default:
      break;
  }
  return ERROR_INVALID_SERVICE_CONTROL;
}

Win32Error LinuxServiceManager::Stop(const Service& service, const ServiceState& state) {
  const bool supervised = IsRunning(state.record.supervisor);
  // Without a supervisor a stop may have been recorded by somebody who was killed before he sent
  // it.
  if (state.status.current_state == SERVICE_STOP_PENDING && supervised)
    return ERROR_SERVICE_CANNOT_ACCEPT_CTRL;
  ServiceRecord record = state.record;
  record.phase = Phase::kStopping;
  if (state.process.pid != 0) record.process = state.process;
  // The supervisor records a stop itself, once it gets the lock, before it passes it on; without
  // one the record comes first: a process that ends must find that it was to.
  if (supervised && !SignalProcess(record.supervisor, SIGTERM)) return ERROR_ACCESS_DENIED;
  if (const Win32Error error = WriteRecord(service, record); error != ERROR_SUCCESS) return error;
  if (!supervised && !SignalProcess(record.process, SIGTERM) && IsRunning(record.process)) {
    WriteRecord(service, state.record);
    return ERROR_ACCESS_DENIED;
  }
  WriteFailure(service, "");
  return ERROR_SUCCESS;
}

Win32Error LinuxServiceManager::Restart(const Service& service, const ServiceState& state) {
  if (state.status.current_state != SERVICE_RUNNING) return ERROR_SERVICE_CANNOT_ACCEPT_CTRL;
  // Without its folders the server would die of the first file that it cannot open.
  if (const Win32Error error = MakeFolders(service); error != ERROR_SUCCESS) return error;
  std::string reason;
  const ReloadVerdict verdict = CheckReload(service, state.process, reason);
  if (verdict == ReloadVerdict::kRefused)
    return Fail(service, ERROR_SERVICE_SPECIFIC_ERROR, reason);
  // Before anything happens: should the server die of it, the words that tell why stay.
  WriteFailure(service, "");
  if (verdict == ReloadVerdict::kGraceful)
    return Reload(service, state.process) ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
  if (!IsRunning(state.record.supervisor))
    return Fail(service, ERROR_SERVICE_CANNOT_ACCEPT_CTRL,
                "The new addresses overlap those in use: stop the service and start it.");
  // As with a stop: the supervisor records it too, should nobody be left to do it here.
  if (!SignalProcess(state.record.supervisor, SIGHUP)) return ERROR_ACCESS_DENIED;
  ServiceRecord record = state.record;
  record.phase = Phase::kRestarting;
  return WriteRecord(service, record);
}

}  // namespace

std::unique_ptr<ServiceManager> OpenServiceManager(const std::string& home) {
  return std::make_unique<LinuxServiceManager>(home);
}

}  // namespace kelvarion::platform
