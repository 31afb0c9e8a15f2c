// How long whoever failed to log in waits before the next attempt is looked at.
//
// The wait belongs to an account and a client together: it doubles with each failure in a row, up
// to a limit, and is over after a success or a quarter of an hour without a failure. So nobody can
// lock out an account for others, nor others for an account.
#pragma once

#include <string>

#include "platform/authn/expiring_map.h"

namespace kelvarion::platform {

inline constexpr std::chrono::milliseconds kFirstWait{500};
inline constexpr std::chrono::milliseconds kLongestWait{10'000};

class FailedLogins {
 public:
  // `who` stands for the account and the client. Returns the failures in a row, this one included.
  int Failed(const std::string& who, Clock::time_point now);
  void Succeeded(const std::string& who) { failures_.Erase(who); }
  // When the next attempt may be looked at; `now` or earlier for at once.
  Clock::time_point NextAttempt(const std::string& who, Clock::time_point now) const;

 private:
  struct Failures {
    int count = 0;
    Clock::time_point next_attempt;
  };

  // More than can be failed in a quarter of an hour, so that failing elsewhere does not help.
  ExpiringMap<Failures> failures_{65'536};
};

}  // namespace kelvarion::platform
