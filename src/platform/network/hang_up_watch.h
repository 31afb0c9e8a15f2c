// Hears when the other end of a socket stops sending, by closing it or by ending.
#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <thread>

#include "platform/files/descriptor.h"

namespace kelvarion::platform {

// Safe from any thread; the sockets themselves may be read and written meanwhile.
class HangUpWatch {
 public:
  HangUpWatch();
  ~HangUpWatch();
  HangUpWatch(const HangUpWatch&) = delete;
  HangUpWatch& operator=(const HangUpWatch&) = delete;

  // Calls `gone` once, on the watch's own thread, when it happens or has happened already. Each
  // socket is watched at most once at a time.
  void Add(int socket, std::function<void()> gone);
  // Has to come before the socket is closed. A call that is under way may end after it.
  void Remove(int socket);

 private:
  void Listen();

  Descriptor poll_;
  Descriptor end_;
  std::mutex mutex_;
  std::map<int, std::function<void()>> watched_;
  std::thread thread_;
};

}  // namespace kelvarion::platform
