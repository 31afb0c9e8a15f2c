#include "services/service_control.h"

#include <chrono>
#include <thread>

#include "errors/exception.h"

namespace kelvarion::services {
namespace {

void Check(Win32Error error, const std::u16string& name, const char16_t* message) {
  if (error == ERROR_SERVICE_DOES_NOT_EXIST)
    throw Win32Exception(error, u"Cannot open service '%s'", name);
  if (error == RPC_S_SERVER_UNAVAILABLE)
    throw Win32Exception(error, u"Cannot connect to service manager");
  if (error != ERROR_SUCCESS) throw Win32Exception(error, u"%s", message);
}

}  // namespace

platform::ServiceStatus QueryStatus(const platform::ServiceManager& manager,
                                    const std::u16string& name) {
  platform::ServiceStatus status;
  Check(manager.QueryStatus(name, status), name, u"Cannot query service status");
  return status;
}

platform::ServiceConfig QueryConfig(const platform::ServiceManager& manager,
                                    const std::u16string& name) {
  platform::ServiceConfig config;
  Check(manager.QueryConfig(name, config), name, u"Cannot query service config");
  return config;
}

void Start(platform::ServiceManager& manager, const std::u16string& name) {
  Check(manager.Start(name), name, u"Cannot start service");
}

void Stop(platform::ServiceManager& manager, const std::u16string& name) {
  Check(manager.Control(name, platform::SERVICE_CONTROL_STOP), name, u"Cannot stop service");
}

void Restart(platform::ServiceManager& manager, const std::u16string& name) {
  Check(manager.Control(name, platform::SERVICE_CONTROL_RESTART), name, u"Cannot control service");
}

void SetStartType(platform::ServiceManager& manager, const std::u16string& name,
                  std::uint32_t start_type) {
  Check(manager.SetStartType(name, start_type), name, u"Cannot change service settings");
}

bool WaitForState(const platform::ServiceManager& manager, const std::u16string& name,
                  std::uint32_t state, std::uint32_t timeout_ms) {
  using Clock = std::chrono::steady_clock;
  constexpr std::chrono::milliseconds kPoll{250};
  const Clock::time_point start = Clock::now();
  for (;;) {
    const platform::ServiceStatus status = QueryStatus(manager, name);
    // The code counts as signed: a negative one already is an HRESULT.
    if (status.win32_exit_code != 0)
      throw Win32Exception(static_cast<std::int32_t>(status.win32_exit_code));
    if (status.current_state == state) return true;
    if (Clock::now() - start > std::chrono::milliseconds(timeout_ms)) return false;
    std::this_thread::sleep_for(kPoll);
  }
}

}  // namespace kelvarion::services
