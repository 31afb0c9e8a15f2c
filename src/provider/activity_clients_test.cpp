// Activities as many clients meet them at the same time.

#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <thread>

#include "tests/provider_host/provider_host.h"
#include "tests/support/test_home.h"

namespace kelvarion {
namespace {

using testing::Answer;
using testing::ProviderHost;
using testing::TestHome;
using Threads = std::vector<std::jthread>;

constexpr int kClients = 8;

std::u16string Id(int number) {
  return u"import-" + std::u16string(1, static_cast<char16_t>(u'a' + number));
}

ComPtr<IWbemContext> Named(const std::u16string& id) {
  ComPtr<IWbemContext> context = MakeContext();
  context->SetValue(u"ActivityId", 0, Variant::FromString(id));
  return context;
}

class ActivityClientsTest : public ::testing::Test {
 protected:
  Answer Cancel(const std::u16string& id, IWbemContext* context = nullptr) const {
    return host_.Call(
        u"Kelvarion_Activity", u"Cancel",
        [&](WMIObject& in) { in.Set(Property<std::u16string>{u"Id"}, id); }, context);
  }
  // A call that runs as long as `while_it_runs` does.
  Answer Run(const std::u16string& id, const std::function<void()>& while_it_runs) const {
    return host_.Call(u"Kelvarion_Repository.Name=\"demo\"", u"GetSecurity",
                      [](WMIObject& in) { in.Set(Property<std::u16string>{u"Path"}, u"/"); },
                      Named(id).Get(), {.on_indicate = while_it_runs});
  }
  void MakeRepository() const {
    const Answer made = host_.Call(u"Kelvarion_Repository", u"Create", [](WMIObject& in) {
      in.Set(Property<std::u16string>{u"Name"}, u"demo");
    });
    ASSERT_EQ(made.status, S_OK);
  }

  TestHome home_;
  const ProviderHost host_{home_.machine()};
};

TEST_F(ActivityClientsTest, EveryRunningCallCanBeCancelledByAnotherClientAndItsIdIsFreeAfterwards) {
  MakeRepository();
  std::atomic<int> ended = 0;
  for (int round = 0; round < 2; ++round) {
    std::latch running{kClients};
    std::latch released{1};
    Threads workers;
    for (int i = 0; i < kClients; ++i)
      workers.emplace_back([&, i] {
        bool ran = false;
        const Answer answer = Run(Id(i), [&] {
          ran = true;
          running.count_down();
          released.wait();
        });
        if (!ran) running.count_down();
        if (answer.status == S_OK && answer.completions == 1 && answer.objects.size() == 1) ++ended;
      });
    running.wait();
    Threads others;
    for (int i = 0; i < kClients; ++i)
      others.emplace_back([&, i] {
        const Answer second = Run(Id(i), [] { FAIL() << "two calls of one id run"; });
        EXPECT_EQ(second.status, WBEM_E_FAILED);
        EXPECT_EQ(second.Message(), u"Cannot register activity '" + Id(i) + u"'.");
        EXPECT_EQ(Cancel(Id(i)).status, S_OK);
        EXPECT_EQ(Cancel(u"I" + Id(i).substr(1)).status, S_FALSE) << "ids compare exactly";
      });
    others.clear();
    EXPECT_EQ(ended, round * kClients) << "the calls are still running";
    released.count_down();
    workers.clear();
    EXPECT_EQ(ended, (round + 1) * kClients);
    for (int i = 0; i < kClients; ++i) EXPECT_EQ(Cancel(Id(i)).status, S_FALSE);
  }
}

// Calls that are activities themselves and cancel each other, two clients to an id.
TEST_F(ActivityClientsTest, IdsThatManyClientsFightForAreFreeInTheEnd) {
  constexpr int kRounds = 60;
  std::atomic<int> ran = 0;
  std::atomic<int> refused = 0;
  Threads clients;
  for (int i = 0; i < kClients; ++i)
    clients.emplace_back([&, i] {
      const std::u16string own = Id(i / 2);
      for (int round = 0; round < kRounds; ++round) {
        const bool itself = round % 2 == 0;
        const Answer answer = Cancel(itself ? own : Id(round % (kClients / 2)), Named(own).Get());
        EXPECT_EQ(answer.completions, 1);
        if (answer.status == WBEM_E_FAILED) {
          EXPECT_EQ(answer.Message(), u"Cannot register activity '" + own + u"'.");
          ++refused;
        } else {
          EXPECT_TRUE(answer.status == S_OK || (answer.status == S_FALSE && !itself));
          ++ran;
        }
      }
    });
  clients.clear();
  EXPECT_EQ(ran + refused, kClients * kRounds);
  EXPECT_GT(ran, 0);
  for (int i = 0; i < kClients; ++i) EXPECT_EQ(Cancel(Id(i)).status, S_FALSE);
}

}  // namespace
}  // namespace kelvarion
