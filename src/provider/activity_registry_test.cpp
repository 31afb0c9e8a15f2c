#include "provider/activity_registry.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace kelvarion {
namespace {

TEST(ActivityRegistryTest, AnIdIsTakenUntilItsActivityEnds) {
  ActivityRegistry registry;
  auto first = registry.Register(u"import");
  ASSERT_TRUE(first);
  EXPECT_FALSE(registry.Register(u"import"));
  EXPECT_TRUE(registry.Register(u"Import")) << "ids compare exactly";
  // The refused registration must not have freed the id.
  EXPECT_TRUE(registry.Cancel(u"import"));
  EXPECT_TRUE(first->IsCancelled());
  first.reset();
  EXPECT_FALSE(registry.Cancel(u"import"));
  const auto again = registry.Register(u"import");
  ASSERT_TRUE(again);
  EXPECT_FALSE(again->IsCancelled()) << "a new activity starts uncancelled";
}

TEST(ActivityRegistryTest, ManyClientsCancelWhatOthersRun) {
  ActivityRegistry registry;
  constexpr int kRounds = 300;
  constexpr int kWorkers = 4;
  const auto id_of = [](int worker) {
    return std::u16string(1, static_cast<char16_t>(u'a' + worker));
  };
  std::atomic<int> running = kWorkers;
  std::vector<std::jthread> threads;
  for (int worker = 0; worker < kWorkers; ++worker) {
    threads.emplace_back([&, worker] {
      for (int round = 0; round < kRounds; ++round) {
        const auto activity = registry.Register(id_of(worker));
        ASSERT_TRUE(activity);
        while (!activity->IsCancelled()) std::this_thread::yield();
      }
      --running;
    });
    threads.emplace_back([&, worker] {
      while (running > 0) registry.Cancel(id_of(worker));
    });
  }
  threads.clear();
  for (int worker = 0; worker < kWorkers; ++worker) EXPECT_FALSE(registry.Cancel(id_of(worker)));
}

}  // namespace
}  // namespace kelvarion
