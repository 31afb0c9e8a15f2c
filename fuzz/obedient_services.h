// Services that are in the state they were told to be in, without any process.
#pragma once

#include <map>

#include "platform/services/service_manager.h"

namespace kelvarion::fuzz {

class ObedientServices final : public platform::ServiceManager {
 public:
  ObedientServices() { Reset(); }
  // The web server runs, the other one is stopped.
  void Reset() {
    services_ = {{u"KelvarionServer", {platform::SERVICE_RUNNING}},
                 {u"ormusvc", {platform::SERVICE_STOPPED}}};
  }

  Win32Error QueryStatus(const std::u16string& name, platform::ServiceStatus& out) const override {
    const auto found = services_.find(name);
    if (found == services_.end()) return ERROR_SERVICE_DOES_NOT_EXIST;
    out = {found->second.state, 0};
    return ERROR_SUCCESS;
  }
  Win32Error QueryConfig(const std::u16string& name, platform::ServiceConfig& out) const override {
    const auto found = services_.find(name);
    if (found == services_.end()) return ERROR_SERVICE_DOES_NOT_EXIST;
    out = {};
    out.start_type = found->second.start_type;
    return ERROR_SUCCESS;
  }
  Win32Error SetStartType(const std::u16string& name, std::uint32_t start_type) override {
    const auto found = services_.find(name);
    if (found == services_.end()) return ERROR_SERVICE_DOES_NOT_EXIST;
    if (start_type < platform::SERVICE_AUTO_START || start_type > platform::SERVICE_DISABLED)
      return ERROR_INVALID_PARAMETER;
    found->second.start_type = start_type;
    return ERROR_SUCCESS;
  }
  Win32Error Start(const std::u16string& name) override {
    const auto found = services_.find(name);
    if (found == services_.end()) return ERROR_SERVICE_DOES_NOT_EXIST;
    Service& service = found->second;
    if (service.state == platform::SERVICE_RUNNING) return ERROR_SERVICE_ALREADY_RUNNING;
    if (service.start_type == platform::SERVICE_DISABLED) return ERROR_SERVICE_DISABLED;
    service.state = platform::SERVICE_RUNNING;
    return ERROR_SUCCESS;
  }
  Win32Error Control(const std::u16string& name, std::uint32_t control) override {
    const auto found = services_.find(name);
    if (found == services_.end()) return ERROR_SERVICE_DOES_NOT_EXIST;
    Service& service = found->second;
    if (service.state != platform::SERVICE_RUNNING) return ERROR_SERVICE_NOT_ACTIVE;
    if (control == platform::SERVICE_CONTROL_STOP) service.state = platform::SERVICE_STOPPED;
    ++service.configuration_time;
    return ERROR_SUCCESS;
  }
  std::u16string LastFailure(const std::u16string&) const override { return {}; }
  Win32Error CheckConfiguration(const std::u16string&, std::u16string&) const override {
    return ERROR_SUCCESS;
  }
  std::int64_t ConfigurationTime(const std::u16string& name) const override {
    const auto found = services_.find(name);
    return found == services_.end() ? 0 : found->second.configuration_time;
  }

 private:
  struct Service {
    std::uint32_t state = platform::SERVICE_STOPPED;
    std::uint32_t start_type = platform::SERVICE_DEMAND_START;
    std::int64_t configuration_time = 1;
  };
  std::map<std::u16string, Service> services_;
};

}  // namespace kelvarion::fuzz
