#include "platform/authn/failed_logins.h"

#include <algorithm>

namespace kelvarion::platform {
namespace {

constexpr std::chrono::minutes kMemory{15};

Clock::duration Wait(int failures) {
  constexpr int kDoublings = 10;  // More than it takes to reach the limit.
  return std::min(kFirstWait * (1 << std::min(failures - 1, kDoublings)), kLongestWait);
}

}  // namespace

int FailedLogins::Failed(const std::string& who, Clock::time_point now) {
  const Failures* const before = failures_.Find(who, now);
  const int count = (before ? before->count : 0) + 1;
  failures_.Put(who, {count, now + Wait(count)}, now + kMemory);
  return count;
}

Clock::time_point FailedLogins::NextAttempt(const std::string& who, Clock::time_point now) const {
  const Failures* const failures = failures_.Find(who, now);
  return failures ? failures->next_attempt : now;
}

}  // namespace kelvarion::platform
