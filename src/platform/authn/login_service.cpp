#include "platform/authn/login_service.h"

#include <arpa/inet.h>
#include <poll.h>

#include <algorithm>
#include <thread>
#include <utility>
#include <vector>

#include "platform/authn/channel.h"
#include "platform/authn/login_name.h"
#include "platform/text/compare.h"
#include "platform/text/encoding.h"

namespace kelvarion::platform {
namespace {

// Whoever asks gives up after half a minute.
constexpr std::chrono::seconds kPatience{12};
constexpr std::chrono::seconds kCheckTime{15};
// More than a password hash takes.
constexpr std::chrono::milliseconds kRefusalTime{500};

// All refusals take the same time: it must not tell which accounts there are.
LoginAnswer InDueTime(LoginAnswer answer, Clock::time_point started) {
  if (answer.verdict == LoginVerdict::kRefused)
    std::this_thread::sleep_until(started + kRefusalTime);
  return answer;
}

void Send(const Descriptor& reply, LoginVerdict verdict, const char* reason) {
  SendAnswer(reply, ToText({verdict, reason, {}}));
}

}  // namespace

std::string ClientNetwork(const std::string& address) {
  in6_addr parsed{};
  if (inet_pton(AF_INET6, address.c_str(), &parsed) != 1) return address;
  return {reinterpret_cast<const char*>(&parsed), sizeof parsed / 2};
}

LoginService::LoginService(Descriptor channel, Check check, std::unique_ptr<EventLog> log)
    : channel_(std::move(channel)),
      check_(std::move(check)),
      reports_(std::move(log)),
      queue_([this](const std::string& who, Clock::time_point now) {
        return failed_.NextAttempt(who, now);
      }) {}

void LoginService::Run() {
  do {
    StartChecks();
    Wait();
    EndChecks();
    EndWaiting();
  } while (Receive());
}

// False when nobody is left who could ask.
bool LoginService::Receive() {
  for (;;) {
    std::string text;
    Descriptor reply;
    const Received received = ReceiveMessage(channel_.get(), text, reply);
    if (received != Received::kMessage) return received == Received::kNothing;
    LoginRequest request;
    if (ParseLoginRequest(text, request))
      Arrive(std::move(request), std::move(reply));
    else
      Send(reply, LoginVerdict::kRefused, "The login is longer than any account's.");
    Wipe(text);
  }
}

void LoginService::Arrive(LoginRequest request, Descriptor reply) {
  if (!IsPlausible(request))
    return Send(reply, LoginVerdict::kRefused,
                "The name or the password is empty, too long, or not plain text.");
  const Clock::time_point now = Clock::now();
  const char* const form = request.upn ? "upn" : "";
  LoginAttempt attempt;
  attempt.credentials = hash_.Of({form, request.name, request.password});
  const std::string* const known = remembered_.Find(attempt.credentials, now);
  if (known && request.remember.count() > 0) {
    SendAnswer(reply, *known);
    return;
  }
  attempt.client = ClientNetwork(request.client);
  const std::string account = SystemNames(request.name, request.upn).front();
  attempt.who = hash_.Of({Utf8ForDisplay(FoldCase(Utf16ForDisplay(account))), attempt.client});
  attempt.deadline = now + kPatience;
  attempt.request = std::move(request);
  attempt.replies.push_back(std::move(reply));
  if (!queue_.Add(attempt))
    Send(attempt.replies.front(), LoginVerdict::kBusy,
         "Too many logins wait for their passwords to be checked.");
}

void LoginService::StartChecks() {
  const Clock::time_point now = Clock::now();
  while (LoginAttempt* const attempt = queue_.Start(now)) {
    auto process =
        CheckProcess::Start([&] { return ToText(InDueTime(check_(attempt->request), now)); });
    if (process)
      running_[attempt] = {std::move(process), now};
    else
      Finish(queue_.Remove(attempt), {LoginVerdict::kBusy, "No more processes can be started.", {}},
             now);
  }
}

// Until there is something to do.
void LoginService::Wait() {
  const Clock::time_point now = Clock::now();
  Clock::time_point until = queue_.NextChange(now);
  std::vector<pollfd> waits{{channel_.get(), POLLIN, 0}};
  for (const auto& [attempt, check] : running_) {
    waits.push_back({check.process->output(), POLLIN, 0});
    until = std::min(until, check.started + kCheckTime);
  }
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(until - now).count();
  poll(waits.data(), waits.size(), static_cast<int>(std::max<std::int64_t>(left, 0)));
}

void LoginService::EndChecks() {
  const Clock::time_point now = Clock::now();
  for (auto each = running_.begin(); each != running_.end();) {
    const auto check = each++;
    auto& [process, started] = check->second;
    pollfd ready{process->output(), POLLIN, 0};
    const bool late = now >= started + kCheckTime;
    if (!late && (poll(&ready, 1, 0) <= 0 || !process->Take())) continue;
    LoginAnswer answer = ParseLoginAnswer(process->text());
    if (late) answer = {LoginVerdict::kFailed, "PAM gave no answer in time.", {}};
    LoginAttempt attempt = queue_.Remove(check->first);
    const Clock::time_point asked = started;
    running_.erase(check);
    Finish(std::move(attempt), std::move(answer), asked);
  }
}

void LoginService::Finish(LoginAttempt attempt, LoginAnswer answer, Clock::time_point started) {
  const LoginRequest& request = attempt.request;
  if (answer.verdict == LoginVerdict::kRefused) {
    const int failures = failed_.Failed(attempt.who, Clock::now());
    answer.text += " (failure " + std::to_string(failures) + " in a row)";
    reports_.Report(request.name, request.client, answer.text, Clock::now());
  }
  const std::string text = ToText(answer);
  if (answer.verdict == LoginVerdict::kAccepted) {
    failed_.Succeeded(attempt.who);
    remembered_.Put(attempt.credentials, text, started + request.remember);
  }
  for (const Descriptor& reply : attempt.replies)
    if (!SendAnswer(reply, text))
      Send(reply, LoginVerdict::kFailed, "The account is in too many groups.");
}

void LoginService::EndWaiting() {
  for (const LoginAttempt& attempt : queue_.TakeLate(Clock::now()))
    for (const Descriptor& reply : attempt.replies)
      Send(reply, LoginVerdict::kBusy, "The login had to wait too long after failures before it.");
}

}  // namespace kelvarion::platform
