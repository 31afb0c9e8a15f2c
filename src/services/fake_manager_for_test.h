// Services that are in the states a test gives them and do nothing.
#pragma once

#include <deque>
#include <map>

#include "platform/services/service_manager.h"
#include "platform/text/format.h"

namespace kelvarion::services {

class FakeManager final : public platform::ServiceManager {
 public:
  Win32Error QueryStatus(const std::u16string& name, platform::ServiceStatus& out) const override {
    if (auto& states = statuses[name]; !states.empty()) {
      out = states.front();
      if (states.size() > 1) states.pop_front();
    }
    return Answer(u"query " + name);
  }
  Win32Error QueryConfig(const std::u16string& name, platform::ServiceConfig& out) const override {
    out = config;
    return Answer(u"config " + name);
  }
  Win32Error SetStartType(const std::u16string& name, std::uint32_t type) override {
    return Answer(Format(u"type %s %u", name, type));
  }
  Win32Error Start(const std::u16string& name) override { return Answer(u"start " + name); }
  Win32Error Control(const std::u16string& name, std::uint32_t control) override {
    return Answer(Format(u"control %s %u", name, control));
  }
  Win32Error CheckConfiguration(const std::u16string&, std::u16string&) const override {
    return ERROR_NOT_SUPPORTED;
  }
  std::int64_t ConfigurationTime(const std::u16string&) const override { return 0; }
  std::u16string LastFailure(const std::u16string& name) const override {
    return u"words of " + name;
  }

  // From now on the call gets the error, or every call where none is named.
  void Fail(const std::u16string& call, Win32Error error) {
    failing_call_ = call;
    error_ = error;
  }

  platform::ServiceConfig config;
  // What each query of a service tells in turn, the last for good; without any, that it is stopped.
  mutable std::map<std::u16string, std::deque<platform::ServiceStatus>> statuses;
  mutable std::deque<std::u16string> calls;

 private:
  Win32Error Answer(const std::u16string& call) const {
    calls.push_back(call);
    return failing_call_.empty() || failing_call_ == call ? error_ : ERROR_SUCCESS;
  }

  std::u16string failing_call_;
  Win32Error error_ = ERROR_SUCCESS;
};

}  // namespace kelvarion::services
