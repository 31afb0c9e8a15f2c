// The logins that wait for their turn to be checked, and those that are being checked.
//
// One attempt at a time is checked for an account and client together, a few for a client, a few
// more for all: whoever tries many passwords gets through them slowly and leaves room for others.
// Requests with the same name and password share one attempt and its outcome.
#pragma once

#include <functional>
#include <list>
#include <string>
#include <vector>

#include "platform/authn/expiring_map.h"
#include "platform/authn/login.h"
#include "platform/files/descriptor.h"

namespace kelvarion::platform {

struct LoginAttempt {
  LoginRequest request;
  std::string credentials;  // Stands for name and password.
  std::string who;          // Stands for account and client.
  std::string client;  // Stands for the client, or the network that it may choose addresses of.
  Clock::time_point deadline;
  std::vector<Descriptor> replies;  // One for each request.
  bool running = false;
};

class LoginQueue {
 public:
  static constexpr std::size_t kRunning = 16;  // Those that are refused mostly sleep.
  static constexpr std::size_t kRunningOfClient = 4;
  static constexpr std::size_t kReplies = 256;
  static constexpr std::size_t kRepliesOfClient = 64;
  static constexpr std::size_t kAttemptsOfAccount = 4;  // Of one client.

  // When the next attempt of `who` may be checked; `now` or earlier for at once.
  using NextAttempt =
      std::function<Clock::time_point(const std::string& who, Clock::time_point now)>;
  explicit LoginQueue(NextAttempt next_attempt) : next_attempt_(std::move(next_attempt)) {}

  // The attempt has one reply. False, with the attempt as it was, when too many wait already.
  bool Add(LoginAttempt& attempt);
  // The next attempt to check, which is running from now on until it is removed; null for none.
  LoginAttempt* Start(Clock::time_point now);
  LoginAttempt Remove(const LoginAttempt* attempt);
  // Attempts that have not been started by their deadline; they are removed.
  std::vector<LoginAttempt> TakeLate(Clock::time_point now);
  // When to look again for attempts to start and for late ones, if nothing happens before.
  Clock::time_point NextChange(Clock::time_point now) const;

 private:
  template <class Condition>
  std::size_t CountReplies(Condition condition) const;
  template <class Condition>
  std::size_t CountAttempts(Condition condition) const;
  bool MayStart(const LoginAttempt& attempt) const;

  NextAttempt next_attempt_;
  std::list<LoginAttempt> attempts_;  // In the order of their arrival.
};

}  // namespace kelvarion::platform
