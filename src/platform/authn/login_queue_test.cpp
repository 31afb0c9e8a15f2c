#include "platform/authn/login_queue.h"

#include <gtest/gtest.h>

#include "platform/authn/failed_logins.h"

namespace kelvarion::platform {
namespace {

using std::chrono::milliseconds;
using std::chrono::minutes;
using std::chrono::seconds;

const Clock::time_point kNow = Clock::time_point(std::chrono::hours(1));

LoginAttempt Attempt(const std::string& account, const std::string& password,
                     const std::string& client) {
  LoginAttempt attempt;
  attempt.credentials = account + ":" + password;
  attempt.who = account + "@" + client;
  attempt.client = client;
  attempt.deadline = kNow + seconds(10);
  attempt.replies.emplace_back();
  return attempt;
}

class LoginQueueTest : public ::testing::Test {
 protected:
  bool Add(const std::string& account, const std::string& password, const std::string& client) {
    LoginAttempt attempt = Attempt(account, password, client);
    return queue.Add(attempt);
  }
  // The attempts that are started now, by their credentials.
  std::vector<std::string> Started(Clock::time_point now = kNow) {
    std::vector<std::string> started;
    while (LoginAttempt* const attempt = queue.Start(now)) {
      started.push_back(attempt->credentials);
      running.push_back(attempt);
    }
    return started;
  }

  FailedLogins failed;
  LoginQueue queue{[this](const std::string& who, Clock::time_point now) {
    return failed.NextAttempt(who, now);
  }};
  std::vector<LoginAttempt*> running;
};

TEST_F(LoginQueueTest, TheSamePasswordIsCheckedOnceAndOthersOfTheAccountOneAfterTheOther) {
  for (int i = 0; i < 10; ++i) EXPECT_TRUE(Add("alice", "one", "10.0.0.1"));
  EXPECT_TRUE(Add("alice", "two", "10.0.0.1"));
  EXPECT_TRUE(Add("alice", "one", "10.0.0.2"));
  EXPECT_EQ(Started(), (std::vector<std::string>{"alice:one", "alice:one"}));
  EXPECT_TRUE(Add("alice", "one", "10.0.0.1")) << "the check that runs answers it, too";
  EXPECT_EQ(queue.Remove(running[0]).replies.size(), 11U);
  EXPECT_EQ(Started(), std::vector<std::string>{"alice:two"});
}

TEST_F(LoginQueueTest, WhoeverTriesManyPasswordsLeavesRoomForOthers) {
  std::size_t accepted = 0;
  for (int i = 0; i < 1000; ++i) accepted += Add(std::to_string(i), "guess", "10.0.0.1") ? 1 : 0;
  EXPECT_EQ(accepted, LoginQueue::kRepliesOfClient);
  for (int i = 0; i < 10; ++i) Add("root", std::to_string(i), "10.0.0.2");
  EXPECT_TRUE(Add("alice", "secret", "10.0.0.3"));
  const std::vector<std::string> started = Started();
  EXPECT_EQ(started.size(), LoginQueue::kRunningOfClient + 2);
  EXPECT_EQ(started.back(), "alice:secret");
  for (int i = 0; i < 1000; ++i) Add("x", "y", "10.1.0." + std::to_string(i));
  EXPECT_FALSE(Add("bob", "secret", "10.0.0.4")) << "the queue grows without a limit";
}

TEST_F(LoginQueueTest, AFailureDelaysTheNextAttemptUntilItsTimeAndNobodyElse) {
  failed.Failed("alice@10.0.0.1", kNow);
  Add("alice", "two", "10.0.0.1");
  Add("alice", "two", "10.0.0.2");
  EXPECT_EQ(Started().size(), 1U) << "of the other client";
  EXPECT_EQ(queue.NextChange(kNow), kNow + kFirstWait);
  EXPECT_EQ(Started(kNow + kFirstWait).size(), 1U);
  EXPECT_GE(queue.NextChange(kNow), kNow + minutes(1)) << "nothing is left to be started";
}

TEST_F(LoginQueueTest, WhoeverWouldWaitPastTheDeadlineIsHandedBack) {
  for (int i = 0; i < 10; ++i) failed.Failed("alice@10.0.0.1", kNow + seconds(1));
  Add("alice", "two", "10.0.0.1");
  Add("bob", "two", "10.0.0.1");
  ASSERT_EQ(Started(), std::vector<std::string>{"bob:two"});
  EXPECT_TRUE(queue.TakeLate(kNow + seconds(9)).empty());
  EXPECT_EQ(queue.NextChange(kNow + seconds(9)), kNow + seconds(10));
  const std::vector<LoginAttempt> late = queue.TakeLate(kNow + seconds(10));
  ASSERT_EQ(late.size(), 1U) << "a check that runs is not late";
  EXPECT_EQ(late[0].credentials, "alice:two");
}

TEST(FailedLoginsTest, TheWaitDoublesUpToALimitAndIsForgotten) {
  FailedLogins failed;
  Clock::time_point now = kNow;
  for (const int expected : {500, 1000, 2000, 4000, 8000, 10000, 10000}) {
    failed.Failed("who", now);
    EXPECT_EQ(failed.NextAttempt("who", now) - now, milliseconds(expected));
    now += seconds(20);
  }
  for (int i = 0; i < 200; ++i) failed.Failed("who", now);
  EXPECT_EQ(failed.NextAttempt("who", now) - now, kLongestWait) << "it overflowed";
  EXPECT_EQ(failed.Failed("who", now + minutes(16)), 1) << "nothing is forgotten";
  EXPECT_EQ(failed.Failed("who", now + minutes(17)), 2);
  failed.Succeeded("who");
  EXPECT_EQ(failed.NextAttempt("who", now), now);
  EXPECT_EQ(failed.NextAttempt("other", now), now);
}

TEST(ExpiringMapTest, TheOldestGoesWhenThereAreTooMany) {
  ExpiringMap<int> map(2);
  map.Put("a", 1, kNow + seconds(1));
  map.Put("b", 2, kNow + seconds(3));
  map.Put("a", 3, kNow + seconds(2));  // Which makes it the newest.
  map.Put("c", 4, kNow + seconds(3));
  EXPECT_EQ(map.Find("b", kNow), nullptr);
  ASSERT_NE(map.Find("a", kNow), nullptr);
  EXPECT_EQ(*map.Find("a", kNow), 3);
  EXPECT_EQ(map.Find("a", kNow + seconds(2)), nullptr);
  EXPECT_NE(map.Find("c", kNow + seconds(2)), nullptr);
}

}  // namespace
}  // namespace kelvarion::platform
