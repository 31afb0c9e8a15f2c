// Answers the web server's questions about names and passwords.
//
// A password that was right is remembered for the time that the question names, as a keyed hash;
// the account's groups with it. Everything that can hang runs in processes of its own, so one slow
// answer holds up nobody else. One thread.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>

#include "platform/authn/check_process.h"
#include "platform/authn/expiring_map.h"
#include "platform/authn/failed_logins.h"
#include "platform/authn/failure_reports.h"
#include "platform/authn/login.h"
#include "platform/authn/login_queue.h"
#include "platform/crypto/keyed_hash.h"
#include "platform/files/descriptor.h"

namespace kelvarion::platform {

// The network whose addresses a client may choose among as it likes: 64 bits of an IPv6 address,
// all of any other.
std::string ClientNetwork(const std::string& address);

class LoginService {
 public:
  using Check = std::function<LoginAnswer(const LoginRequest&)>;

  // `check` runs in a process of its own.
  LoginService(Descriptor channel, Check check, std::unique_ptr<EventLog> log);

  // Returns when nobody is left who could ask.
  void Run();

 private:
  struct RunningCheck {
    std::unique_ptr<CheckProcess> process;
    Clock::time_point started;
  };

  bool Receive();
  void Arrive(LoginRequest request, Descriptor reply);
  void StartChecks();
  void Wait();
  void EndChecks();
  void Finish(LoginAttempt attempt, LoginAnswer answer, Clock::time_point started);
  void EndWaiting();

  Descriptor channel_;
  Check check_;
  FailureReports reports_;
  KeyedHash hash_;
  FailedLogins failed_;
  ExpiringMap<std::string> remembered_{4096};  // The texts of answers.
  LoginQueue queue_;
  std::map<LoginAttempt*, RunningCheck> running_;
};

// The whole life of the helper of the web server: the channel is descriptor 3.
int LoginServiceMain(const std::string& home);

}  // namespace kelvarion::platform
