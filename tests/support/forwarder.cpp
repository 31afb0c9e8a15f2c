#include "tests/support/forwarder.h"

#include <netinet/tcp.h>

namespace kelvarion::testing {
namespace {

constexpr int kTurn = 20;  // Milliseconds until a cut is seen.

// What is small goes on at once: requests in several pieces would wait 40 ms for each answer.
void DoNotWait(int connection) {
  const int on = 1;
  setsockopt(connection, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

}  // namespace

Forwarder::Forwarder(int target_port) : target_port_(target_port), thread_([this] { Run(); }) {}

Forwarder::~Forwarder() {
  stop_ = true;
  thread_.join();
}

void Forwarder::Accept() {
  const int from = accept4(listener_.socket(), nullptr, nullptr, SOCK_CLOEXEC);
  if (from < 0) return;
  const int to = TcpSocket();
  const sockaddr_in target = Loopback(target_port_);
  if (!cut_ && connect(to, reinterpret_cast<const sockaddr*>(&target), sizeof target) == 0) {
    DoNotWait(from);
    DoNotWait(to);
    connections_.emplace_back(from, to);
    return;
  }
  close(from);
  close(to);
}

bool Forwarder::Pass(int from, int to) {
  char bytes[65536];
  const ssize_t count = recv(from, bytes, sizeof bytes, 0);
  for (ssize_t sent = 0; sent < count;) {
    const ssize_t more =
        send(to, bytes + sent, static_cast<std::size_t>(count - sent), MSG_NOSIGNAL);
    if (more <= 0) return false;
    sent += more;
  }
  return count > 0;
}

void Forwarder::Run() {
  while (!stop_) {
    std::vector<pollfd> waiting{{listener_.socket(), POLLIN, 0}};
    for (const auto& [from, to] : connections_) {
      waiting.push_back({from, POLLIN, 0});
      waiting.push_back({to, POLLIN, 0});
    }
    poll(waiting.data(), waiting.size(), kTurn);
    std::vector<std::pair<int, int>> open;
    for (std::size_t i = 0; i < connections_.size(); ++i) {
      const auto [from, to] = connections_[i];
      bool alive = !cut_ && !stop_;
      if (alive && waiting[1 + 2 * i].revents) alive = Pass(from, to);
      if (alive && waiting[2 + 2 * i].revents) alive = Pass(to, from);
      if (alive) {
        open.emplace_back(from, to);
      } else {
        close(from);
        close(to);
      }
    }
    connections_ = std::move(open);
    if (waiting[0].revents) Accept();
  }
  for (const auto& [from, to] : connections_) close(from), close(to);
}

}  // namespace kelvarion::testing
