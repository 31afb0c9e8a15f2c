// The machine's services as its service manager reports and controls them.
//
// A service is named; its state, exit code and configuration are the truth of this moment, whatever
// happened to its processes behind the manager's back. Start, stop and control return when the
// request has been accepted. Safe from any thread and from several processes. Failures are Win32
// error codes; the text of what the service itself said about its last failure is kept apart.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/com/types.h"

namespace kelvarion::platform {

inline constexpr std::uint32_t SERVICE_STOPPED = 1;
inline constexpr std::uint32_t SERVICE_START_PENDING = 2;
inline constexpr std::uint32_t SERVICE_STOP_PENDING = 3;
inline constexpr std::uint32_t SERVICE_RUNNING = 4;
inline constexpr std::uint32_t SERVICE_CONTINUE_PENDING = 5;
inline constexpr std::uint32_t SERVICE_PAUSE_PENDING = 6;
inline constexpr std::uint32_t SERVICE_PAUSED = 7;

inline constexpr std::uint32_t SERVICE_AUTO_START = 2;
inline constexpr std::uint32_t SERVICE_DEMAND_START = 3;
inline constexpr std::uint32_t SERVICE_DISABLED = 4;

inline constexpr std::uint32_t SERVICE_CONTROL_STOP = 1;
// The control by which the web server reads its configuration anew without stopping.
inline constexpr std::uint32_t SERVICE_CONTROL_RESTART = 128;

struct ServiceStatus {
  std::uint32_t current_state = SERVICE_STOPPED;
  std::uint32_t win32_exit_code = 0;
};

struct ServiceConfig {
  std::uint32_t service_type = 0x10;
  std::uint32_t start_type = SERVICE_DEMAND_START;
  std::uint32_t error_control = 1;
  std::uint32_t tag_id = 0;
  std::u16string binary_path;
  std::u16string load_order_group;
  std::vector<std::u16string> dependencies;
  std::u16string
      start_name;  // The account it runs as; empty or "LocalSystem" for the system's own.
  std::u16string display_name;
};

class ServiceManager {
 public:
  virtual ~ServiceManager() = default;

  // ERROR_SERVICE_DOES_NOT_EXIST for a name that is not installed, here and below.
  virtual Win32Error QueryStatus(const std::u16string& name, ServiceStatus& out) const = 0;
  virtual Win32Error QueryConfig(const std::u16string& name, ServiceConfig& out) const = 0;
  virtual Win32Error SetStartType(const std::u16string& name, std::uint32_t start_type) = 0;
  // ERROR_SERVICE_ALREADY_RUNNING, ERROR_SERVICE_DISABLED. An accepted start clears the exit code.
  virtual Win32Error Start(const std::u16string& name) = 0;
  // SERVICE_CONTROL_STOP or a control of the service's own; ERROR_SERVICE_NOT_ACTIVE when stopped.
  // A restart that keeps the server's process returns once the configuration has been taken up.
  virtual Win32Error Control(const std::u16string& name, std::uint32_t control) = 0;
  // What the service said when it last failed (its stderr or the end of its log), for people;
  // empty when its last start and control went well.
  virtual std::u16string LastFailure(const std::u16string& name) const = 0;
  // Whether the service could run with its configuration as it is now; ERROR_SERVICE_SPECIFIC_ERROR
  // with what its own program says against it. Changes nothing and takes a moment.
  virtual Win32Error CheckConfiguration(const std::u16string& name,
                                        std::u16string& reason) const = 0;
  // When the running service last took its configuration up, in nanoseconds since 1970; 0 where
  // nobody knows.
  virtual std::int64_t ConfigurationTime(const std::u16string& name) const = 0;
};

// The services of the home `home` (UTF-8 path). State outlives the caller: see
// run/<service>.status.
std::unique_ptr<ServiceManager> OpenServiceManager(const std::string& home);

}  // namespace kelvarion::platform
