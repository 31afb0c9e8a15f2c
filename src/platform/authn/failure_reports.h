// Failed logins in the home's event log, few enough that they cannot push everything else out of
// it.
#pragma once

#include <memory>
#include <string>

#include "platform/authn/expiring_map.h"
#include "platform/event_log/event_log.h"
#include "platform/event_log/report_limit.h"

namespace kelvarion::platform {

class FailureReports {
 public:
  static constexpr int kPerMinute = 30;

  explicit FailureReports(std::unique_ptr<EventLog> log) : log_(std::move(log)) {}

  // What is too much is counted, and the next report says how much there was. All UTF-8.
  void Report(const std::string& name, const std::string& client, const std::string& reason,
              Clock::time_point now);

 private:
  std::unique_ptr<EventLog> log_;
  ReportLimit limit_{kPerMinute};
};

}  // namespace kelvarion::platform
