// Puts a kelvariond under the load of many clients and tells how it bore it.
//
// Fails when an answer is other than it has to be, when memory grows, when something is left behind
// or when the daemon does not end in order.

#include <CLI/CLI.hpp>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <iostream>
#include <optional>
#include <thread>

#include "platform/network/local_socket.h"
#include "tests/load/client.h"
#include "tests/support/real_server.h"
#include "tests/support/temporary_folder.h"

namespace kelvarion::load {
namespace {

namespace fs = std::filesystem;

struct Options {
  int clients = 64;
  double seconds = 60;
  unsigned seed = 1;
  std::string home;
  std::string programs = KELVARION_BUILD_DIR;
};

// Only what the folder of many repositories costs; all clients list them.
constexpr int kRepositories = 20;

class Run {
 public:
  explicit Run(const Options& options) : options_(options) {
    const fs::path home = options.home.empty() ? temporary_.native() : options.home;
    home_ = fs::absolute(home).string();
    Ctl({"init", "--port", std::to_string(testing::FreePort()), "--ssl-port",
         std::to_string(testing::FreePort())});
    Create(kShared);
    for (int i = 0; i < kRepositories; ++i) Create("standing-" + std::to_string(i));
    before_ = Listing();
  }

  bool Pass() {
    testing::ChildProcess daemon({options_.programs + "/bin/kelvariond", "--home", home_});
    const std::string socket = home_ + "/kelvariond.sock";
    platform::Descriptor connection;
    if (!testing::Eventually(
            [&] { return platform::ConnectLocal(socket, connection) == ERROR_SUCCESS; }))
      return Complain("the daemon does not start: " + daemon.Wait().err);
    Load(daemon.pid(), socket);
    Print(std::cout, total_, options_.seconds, memory_);
    daemon.Terminate();
    const testing::ProcessResult end = daemon.Wait();
    bool passed = total_.unexpected.empty();
    if (end.exit_code != 0)
      passed = Complain("the daemon ended with " + std::to_string(end.exit_code) + ": " + end.err);
    if (Listing() != before_) passed = Complain("something is left behind:\n" + Listing());
    if (double(memory_.At(1)) > double(memory_.At(kWarm)) * 1.1 + (4 << 20))
      passed = Complain("memory grows");
    return passed;
  }

 private:
  static bool Complain(const std::string& what) {
    std::cout << "FAILED: " << what << std::endl;
    return false;
  }
  std::string Ctl(std::vector<std::string> words) const {
    words.insert(words.begin(), {options_.programs + "/bin/kelvarionctl", "--home", home_});
    const testing::ProcessResult result = testing::RunProcess(words);
    if (result.exit_code != 0) throw std::runtime_error(result.all());
    return result.out;
  }
  void Create(const std::string& name) const {
    Ctl({"call", "Kelvarion_Repository", "Create", "Name=" + name});
  }
  std::string Listing() const {
    std::string all;
    for (const char* name : {"Kelvarion_Repository", "Kelvarion_User", "Kelvarion_Group"})
      all += Ctl({"enumerate", name});
    for (const auto& entry : fs::directory_iterator(home_ + "/repositories"))
      if (entry.path().extension() == ".tmp") all += entry.path();
    return all;
  }

  void Load(int pid, const std::string& socket) {
    std::vector<std::unique_ptr<Client>> clients;
    std::atomic<bool> ending = false;
    std::vector<std::jthread> threads;
    for (int i = 0; i < options_.clients; ++i) {
      clients.push_back(std::make_unique<Client>(socket, i, options_.seed));
      threads.emplace_back([&ending, &client = *clients.back()] {
        while (!ending) client.Step();
        client.CleanUp();
      });
    }
    constexpr int kSamples = 100;
    for (int i = 0; i < kSamples; ++i) {
      std::this_thread::sleep_for(std::chrono::duration<double>(options_.seconds / kSamples));
      memory_.Sample(pid);
    }
    ending = true;
    threads.clear();
    for (const auto& client : clients) total_.Add(client->tally());
  }

  const Options options_;
  const testing::TemporaryFolder temporary_;
  std::string home_;
  std::string before_;
  Tally total_;
  MemoryCurve memory_;
};

}  // namespace
}  // namespace kelvarion::load

int main(int argc, char** argv) {
  CLI::App app("Puts a kelvariond under the load of many clients.", "kelvarion-load");
  kelvarion::load::Options options;
  app.add_option("--clients", options.clients, "How many at the same time")->capture_default_str();
  app.add_option("--seconds", options.seconds, "How long")->capture_default_str();
  app.add_option("--seed", options.seed, "Decides who does what")->capture_default_str();
  app.add_option("--home", options.home, "The home that is served (default: a fresh one)");
  app.add_option("--programs", options.programs, "The build whose programs run")
      ->capture_default_str();
  CLI11_PARSE(app, argc, argv);
  try {
    return kelvarion::load::Run(options).Pass() ? 0 : 1;
  } catch (const std::exception& exception) {
    std::cerr << "kelvarion-load: " << exception.what() << std::endl;
    return 1;
  }
}
