// Keeps what strangers can cause from pushing everything else out of the event log.
#pragma once

#include <chrono>
#include <utility>

namespace kelvarion::platform {

// So many reports a minute; the others are counted. One thread at a time.
class ReportLimit {
 public:
  using Clock = std::chrono::steady_clock;

  explicit ReportLimit(int per_minute) : per_minute_(per_minute) {}

  // Whether a report may be made now.
  bool Allows(Clock::time_point now) {
    if (now - minute_ >= std::chrono::minutes(1)) {
      minute_ = now;
      reported_ = 0;
    }
    if (reported_ == per_minute_) {
      ++unreported_;
      return false;
    }
    ++reported_;
    return true;
  }
  // How many were not allowed since the last call.
  int TakeUnreported() { return std::exchange(unreported_, 0); }

 private:
  const int per_minute_;
  Clock::time_point minute_{};  // When the present one began.
  int reported_ = 0;            // In the present minute.
  int unreported_ = 0;
};

}  // namespace kelvarion::platform
