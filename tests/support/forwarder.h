// A connection between two servers that a test can cut.
#pragma once

#include <atomic>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/ports.h"

namespace kelvarion::testing {

// Takes connections on a free port of the loopback address and passes them on to another one.
class Forwarder {
 public:
  explicit Forwarder(int target_port);
  ~Forwarder();
  Forwarder(const Forwarder&) = delete;
  Forwarder& operator=(const Forwarder&) = delete;

  std::string Name() const { return listener_.Name(); }
  // Ends every connection at once; new ones are ended as soon as they are made.
  void Cut() { cut_ = true; }
  void Restore() { cut_ = false; }

 private:
  void Run();
  void Accept();
  // False once the connection is over.
  static bool Pass(int from, int to);

  int target_port_;
  const HeldPort listener_;
  std::vector<std::pair<int, int>> connections_;  // Of the thread.
  std::atomic<bool> cut_ = false;
  std::atomic<bool> stop_ = false;
  std::thread thread_;
};

}  // namespace kelvarion::testing
