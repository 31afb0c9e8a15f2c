// Waiting for what other processes and threads do.
#pragma once

#include <chrono>
#include <functional>
#include <thread>

namespace kelvarion::testing {

// Processes take their time; 30 seconds are more than any of them may need by itself.
inline bool Eventually(const std::function<bool()>& happened,
                       std::chrono::seconds patience = std::chrono::seconds(30)) {
  const auto end = std::chrono::steady_clock::now() + patience;
  while (!happened()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return true;
}

}  // namespace kelvarion::testing
