#include "platform/authn/login_queue.h"

#include <algorithm>
#include <utility>

namespace kelvarion::platform {

template <class Condition>
std::size_t LoginQueue::CountReplies(Condition condition) const {
  std::size_t count = 0;
  for (const LoginAttempt& each : attempts_)
    if (condition(each)) count += each.replies.size();
  return count;
}

template <class Condition>
std::size_t LoginQueue::CountAttempts(Condition condition) const {
  return static_cast<std::size_t>(std::count_if(attempts_.begin(), attempts_.end(), condition));
}

bool LoginQueue::Add(LoginAttempt& attempt) {
  const auto of_client = [&](const LoginAttempt& each) { return each.client == attempt.client; };
  if (CountReplies([](const LoginAttempt&) { return true; }) >= kReplies ||
      CountReplies(of_client) >= kRepliesOfClient)
    return false;
  const auto same = std::find_if(attempts_.begin(), attempts_.end(), [&](const LoginAttempt& each) {
    return each.who == attempt.who && each.credentials == attempt.credentials;
  });
  if (same != attempts_.end()) {
    same->replies.push_back(std::move(attempt.replies.front()));
    return true;
  }
  const auto of_account = [&](const LoginAttempt& each) { return each.who == attempt.who; };
  if (CountAttempts(of_account) >= kAttemptsOfAccount) return false;
  attempts_.push_back(std::move(attempt));
  return true;
}

// Whether nothing but time is in the way.
bool LoginQueue::MayStart(const LoginAttempt& attempt) const {
  if (attempt.running) return false;
  const auto running = [](const LoginAttempt& each) { return each.running; };
  const auto of_client = [&](const LoginAttempt& each) {
    return each.running && each.client == attempt.client;
  };
  const auto of_account = [&](const LoginAttempt& each) {
    return each.running && each.who == attempt.who;
  };
  return CountAttempts(running) < kRunning && CountAttempts(of_client) < kRunningOfClient &&
         CountAttempts(of_account) == 0;
}

LoginAttempt* LoginQueue::Start(Clock::time_point now) {
  for (LoginAttempt& each : attempts_) {
    if (!MayStart(each) || next_attempt_(each.who, now) > now) continue;
    each.running = true;
    return &each;
  }
  return nullptr;
}

LoginAttempt LoginQueue::Remove(const LoginAttempt* attempt) {
  const auto found = std::find_if(attempts_.begin(), attempts_.end(),
                                  [&](const LoginAttempt& each) { return &each == attempt; });
  LoginAttempt removed = std::move(*found);
  attempts_.erase(found);
  return removed;
}

std::vector<LoginAttempt> LoginQueue::TakeLate(Clock::time_point now) {
  std::vector<LoginAttempt> late;
  for (auto each = attempts_.begin(); each != attempts_.end();) {
    const auto attempt = each++;
    if (!attempt->running && attempt->deadline <= now) late.push_back(Remove(&*attempt));
  }
  return late;
}

Clock::time_point LoginQueue::NextChange(Clock::time_point now) const {
  Clock::time_point next = now + std::chrono::hours(1);
  for (const LoginAttempt& each : attempts_) {
    if (each.running) continue;
    next = std::min(next, each.deadline);
    if (MayStart(each)) next = std::min(next, next_attempt_(each.who, now));
  }
  return next;
}

}  // namespace kelvarion::platform
