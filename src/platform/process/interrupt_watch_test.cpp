#include <gtest/gtest.h>
#include <signal.h>

#include <semaphore>

#include "platform/process/process.h"

namespace kelvarion::platform {
namespace {

TEST(InterruptWatchTest, EveryInterruptIsReportedAndTheProcessLivesOn) {
  std::counting_semaphore<8> seen{0};
  {
    const InterruptWatch watch([&] { seen.release(); });
    for (const int signal : {SIGINT, SIGINT, SIGTERM}) {
      raise(signal);
      seen.acquire();
    }
  }
  EXPECT_FALSE(seen.try_acquire());
}

TEST(InterruptWatchTest, WithoutAWatchAnInterruptEndsTheProcessAgain) {
  {
    const InterruptWatch watch([] {});
  }
  EXPECT_EXIT(raise(SIGINT), testing::KilledBySignal(SIGINT), "");
}

}  // namespace
}  // namespace kelvarion::platform
