// Work that may hang or crash, done in a process of its own that hands back a text.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/files/descriptor.h"

namespace kelvarion::platform {

// The process ends with the object, and with the process that started it.
class CheckProcess {
 public:
  // Null when the system has no room for another process.
  static std::unique_ptr<CheckProcess> Start(const std::function<std::string()>& work);
  ~CheckProcess();
  CheckProcess(const CheckProcess&) = delete;
  CheckProcess& operator=(const CheckProcess&) = delete;

  // Readable when there is something to take.
  int output() const { return output_.get(); }
  // Takes what has arrived; true once there is nothing more to come.
  bool Take();
  // All that was taken; short or empty when the process did not live to say it.
  const std::string& text() const { return text_; }

 private:
  CheckProcess(int pid, Descriptor output) : pid_(pid), output_(std::move(output)) {}

  int pid_;
  Descriptor output_;
  std::string text_;
};

}  // namespace kelvarion::platform
