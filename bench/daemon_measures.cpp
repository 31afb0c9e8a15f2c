#include <fstream>
#include <stdexcept>
#include <thread>

#include "bench/measures.h"
#include "host/client/http_exchange.h"
#include "platform/network/local_socket.h"
#include "tests/provider_host/provider_host.h"
#include "tests/support/real_server.h"
#include "tests/support/test_home.h"

namespace kelvarion::bench {
namespace {

using testing::ChildProcess;
using testing::RealServer;
using Clients = std::vector<platform::Descriptor>;

class Daemon {
 public:
  Daemon() : process_({KELVARION_BUILD_DIR "/bin/kelvariond", "--home", server_.home}) {
    if (!testing::Eventually([this] { return TryConnect().get() >= 0; }))
      throw std::runtime_error("the daemon does not start");
  }
  ~Daemon() {
    process_.Terminate();
    process_.Wait();
  }
  Daemon(const Daemon&) = delete;
  Daemon& operator=(const Daemon&) = delete;

  platform::Descriptor TryConnect() const {
    platform::Descriptor socket;
    platform::ConnectLocal(server_.File("kelvariond.sock"), socket);
    return socket;
  }
  // Clients that have been served once.
  Clients Connect(int count) const {
    Clients clients;
    for (int i = 0; i < count; ++i) {
      clients.push_back(TryConnect());
      Get(clients.back());
    }
    return clients;
  }
  static void Get(const platform::Descriptor& client) {
    int lines = 0;
    host::Exchange(client.get(), "/v1/get", R"({"path":"Kelvarion_VersionInfo=@"})",
                   [&](const host::Json& line) { lines += line.contains("object") ? 1 : 0; });
    if (lines != 1) throw std::runtime_error("the daemon does not answer");
  }

  // Bytes that the process has in memory.
  double Memory() const {
    std::ifstream status("/proc/" + std::to_string(process_.pid()) + "/status");
    std::string word;
    double kilobytes = 0;
    while (status >> word)
      if (word == "VmRSS:") status >> kilobytes;
    return kilobytes * 1024;
  }

 private:
  RealServer server_;
  ChildProcess process_;
};

double InProcess(int requests) {
  const testing::TestHome home;
  const testing::ProviderHost host(home.machine());
  return Median(3,
                [&] {
                  for (int i = 0; i < requests; ++i) host.Get(u"Kelvarion_VersionInfo=@");
                }) /
         requests;
}

// Seconds per request when all clients ask at the same time, one request after another each.
double Together(const Clients& clients, int requests) {
  const int each = requests / static_cast<int>(clients.size());
  return Median(3,
                [&] {
                  std::vector<std::jthread> threads;
                  for (const platform::Descriptor& client : clients) {
                    threads.emplace_back([&] {
                      for (int i = 0; i < each; ++i) Daemon::Get(client);
                    });
                  }
                }) /
         requests;
}

void MeasureIdleClients(const Daemon& daemon, std::vector<Row>& rows) {
  const double before = daemon.Memory();
  constexpr int kIdle = 500;
  const Clients idle = daemon.Connect(kIdle);
  rows.push_back({.name = "memory of the daemon per idle client",
                  .amounts = {(daemon.Memory() - before) / kIdle},
                  .aim = 16 * 1024,
                  .bytes = true});
}

}  // namespace

void MeasureDaemon(std::vector<Row>& rows) {
  const Daemon daemon;
  const int requests = Quick() ? 6400 : 32000;
  const double alone = InProcess(requests);
  // What its threads need for themselves is there from then on.
  Together(daemon.Connect(1), requests);
  MeasureIdleClients(daemon, rows);
  for (const int count : {1, 8, 64}) {
    const double seconds = Together(daemon.Connect(count), requests);
    rows.push_back({"get through the daemon, " + std::to_string(count) + " clients",
                    "in process",
                    {seconds, alone},
                    100});
  }
}

}  // namespace kelvarion::bench
