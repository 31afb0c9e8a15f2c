// TCP ports of the loopback address: free, taken, answering.
#pragma once

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <random>
#include <string>

namespace kelvarion::testing {

inline sockaddr_in Loopback(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  return address;
}

inline int TcpSocket() { return socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0); }

// Listens on a port of its own while it lives; takes connections and says nothing.
class HeldPort {
 public:
  HeldPort() : socket_(TcpSocket()) {
    sockaddr_in address = Loopback(0);
    socklen_t size = sizeof address;
    bind(socket_, reinterpret_cast<sockaddr*>(&address), size);  // NOLINT: else the port is 0
    listen(socket_, 32);
    getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &size);
    port = ntohs(address.sin_port);
  }
  ~HeldPort() { close(socket_); }
  HeldPort(const HeldPort&) = delete;
  HeldPort& operator=(const HeldPort&) = delete;

  int socket() const { return socket_; }
  std::string Name() const { return "127.0.0.1:" + std::to_string(port); }
  bool WasAsked() const {
    pollfd connection{socket_, POLLIN, 0};
    return poll(&connection, 1, 0) == 1;
  }

  std::uint16_t port = 0;

 private:
  int socket_;
};

// Below the ports that outgoing connections take. Random, since many tests look at once.
inline int FreePort() {
  static std::mt19937 random(std::random_device{}());
  std::uniform_int_distribution<int> candidates(20000, 31999);
  for (;;) {
    const int candidate = candidates(random);
    const int listener = TcpSocket();
    sockaddr_in address = Loopback(candidate);
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    const bool free = bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    close(listener);
    if (free) return candidate;
  }
}

inline bool Connects(const std::string& port) {
  const int client = TcpSocket();
  const sockaddr_in address = Loopback(std::stoi(port));
  const bool connected =
      connect(client, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  close(client);
  return connected;
}

}  // namespace kelvarion::testing
