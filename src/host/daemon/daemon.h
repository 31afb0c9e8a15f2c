// The daemon: one provider for many clients, over HTTP/1.1 on the home's socket.
#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>

#include "host/provider_host.h"

namespace kelvarion::host {

struct DaemonLimits {
  std::size_t request_bytes = std::size_t{16} << 20;
  // Requests that run at the same time, each on a thread of its own; more are refused.
  std::size_t running = 64;
  // Connections; more are closed at once. Those of clients that are not served have a number of
  // their own, so that they cannot keep the others out.
  std::size_t connections = 512;
  std::size_t strangers = 32;
  // How long a connection may take to bring a request, or an answer to be taken.
  std::chrono::seconds idle{60};
  // After Stop: how long requests may go on, then how long they may take to stop.
  std::chrono::milliseconds finish{2000};
  std::chrono::milliseconds stop{60000};
};

class Daemon {
 public:
  // Takes the home over; `home` is UTF-8. Throws SimpleException when another daemon serves it,
  // Win32Exception when the socket cannot be made. The host outlives the daemon.
  Daemon(const std::string& home, const ProviderHost& host, const DaemonLimits& limits);
  ~Daemon();
  Daemon(const Daemon&) = delete;
  Daemon& operator=(const Daemon&) = delete;

  // Serves until it is stopped. False when requests were still running at the very end: then the
  // process has to end without further ado, which harms no data.
  bool Run();
  // No new requests from now on; the socket goes. Safe from any thread.
  void Stop();

 private:
  class Listener;
  std::unique_ptr<Listener> listener_;
};

}  // namespace kelvarion::host
