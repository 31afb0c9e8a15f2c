// Puts a kelvariond under the load of many clients and tells how it bore it.
//
// Fails when an answer is other than it has to be, when memory grows, when something is left behind
// or when the daemon does not end in order.

#include <gtest/gtest.h>

#include <CLI/CLI.hpp>
#include <chrono>
#include <fstream>
#include <iostream>
#include <thread>

#include "host/wire.h"
#include "platform/network/local_socket.h"
#include "tests/load/administrator.h"
#include "tests/load/mover.h"
#include "tests/load/rough_client.h"
#include "tests/load/svn_user.h"
#include "tests/load/vitals.h"

namespace kelvarion::load {
namespace {

namespace fs = std::filesystem;

struct Options {
  Size size;
  int clients = 32;
  int rough_clients = 64;
  int movers = 4;
  int svn_users = 2;
  double seconds = 300;
  unsigned seed = 1;
  std::string programs = KELVARION_BUILD_DIR;
};

using Workers = std::vector<std::unique_ptr<Worker>>;

constexpr int kNamesOfMover = 8;
constexpr int kSamples = 200;
// In shorter stages a process still gets what it needs for good.
constexpr double kSecondsUntilWarm = 30;
// What requests that happen to run at the same time need differs by some of the largest answers.
// Beyond that less than malloc's smallest block may be left by each request.
constexpr double kFluctuation = 16 << 20;
constexpr double kLeakedByRequest = 16;

const Request kRestart = Call("Kelvarion_ServerStatus", "Restart");

std::string Committer(int number) { return "committer-" + std::to_string(number); }

bool Complain(const std::string& what) {
  std::cout << "FAILED: " << what << std::endl;
  return false;
}

class Run {
 public:
  explicit Run(const Options& options)
      : options_(options),
        standing_(options.size),
        server_({.programs = options.programs}),
        daemon_({options.programs + "/bin/kelvariond", "--home", server_.home}) {
    platform::Descriptor connection;
    if (!testing::Eventually(
            [&] { return platform::ConnectLocal(socket_, connection) == ERROR_SUCCESS; }))
      throw std::runtime_error("the daemon does not start: " + daemon_.Wait().err);
  }

  bool Pass() {
    bool passed = Fill();
    const Contents before = ContentsOf(server_);
    passed &= Stage("Everything stays where it is", Administrators());
    passed &= Stage("Repositories come and go", Movers(Administrators()));
    passed &= Stage("Clients without manners", RoughClients());
    if (const std::string found = Differences(before, ContentsOf(server_)); !found.empty())
      passed = Complain("the server is not as it was before:\n" + found);
    passed &= Examine();
    return End() && passed;
  }

 private:
  bool Fill();
  // The workers do their work for as long as one stage takes.
  bool Stage(const std::string& name, Workers workers);
  bool Examine() const;
  bool End();
  bool Judge(const Tally& tally, double seconds, const Vitals& vitals) const;

  Workers Administrators();
  Workers Movers(Workers workers);
  Workers RoughClients();

  const Options options_;
  const Standing standing_;
  const testing::RealServer server_;
  const std::string socket_ = host::SocketPath(server_.home);
  testing::ChildProcess daemon_;
  MovingRepositories moving_;
};

bool Run::Fill() {
  const auto begin = std::chrono::steady_clock::now();
  Tally tally = load::Fill(socket_, standing_, options_.clients);
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
  std::cout << "Filling the server\n";
  Print(std::cout, tally, seconds.count());
  Requests requests(socket_);
  for (int i = 0; i < options_.svn_users; ++i) {
    const std::string user = Committer(i);
    requests.Expect("create user",
                    Call("Kelvarion_User", "Create", {{"Name", user}, {"Password", user}}));
    Json rules = standing_.Rules(1 + i);
    rules.push_back(RuleFor(user, 2));
    requests.Expect("set rules", SetRules(Standing::Project(1 + i), "/", rules));
  }
  requests.Expect("restart", kRestart);
  tally.Add(requests.tally());
  return tally.unexpected.empty();
}

Workers Run::Administrators() {
  Workers workers;
  for (int i = 0; i < options_.clients; ++i)
    workers.push_back(
        std::make_unique<Administrator>(socket_, standing_, moving_, i, options_.seed + i));
  for (int i = 0; i < options_.svn_users; ++i) {
    const std::string folder = server_.folder + "/svn-user-" + std::to_string(i);
    fs::create_directories(folder);
    workers.push_back(std::make_unique<SvnUser>(server_, Committer(i), Standing::Project(1 + i),
                                                folder, options_.seed + i));
  }
  return workers;
}

Workers Run::Movers(Workers workers) {
  const Mover::Sources sources{KELVARION_SOURCE_DIR "/tests/faults/import.dump",
                               server_.root + "/" + Standing::Project(1)};
  for (int i = 0; i < options_.movers; ++i) {
    std::vector<MovingRepository*> own;
    for (int k = 0; k < kNamesOfMover; ++k)
      own.push_back(&moving_.emplace_back("moving-" + std::to_string(i) + "-" + std::to_string(k)));
    workers.push_back(std::make_unique<Mover>(socket_, sources, own, options_.seed + i));
  }
  return workers;
}

Workers Run::RoughClients() {
  Workers workers;
  for (int i = 0; i < options_.rough_clients; ++i)
    workers.push_back(
        std::make_unique<RoughClient>(socket_, Standing::Project(2), i, options_.seed + i));
  return workers;
}

bool Run::Stage(const std::string& name, Workers workers) {
  std::cout << name << std::endl;
  Vitals vitals(daemon_.pid());
  std::vector<std::jthread> threads;
  for (const auto& worker : workers) {
    threads.emplace_back([&worker = *worker](const std::stop_token& ending) {
      while (!ending.stop_requested()) worker.Step();
      worker.CleanUp();
    });
  }
  for (int i = 0; i < kSamples; ++i) {
    std::this_thread::sleep_for(std::chrono::duration<double>(options_.seconds / kSamples));
    vitals.Sample();
  }
  for (std::jthread& thread : threads) thread.request_stop();
  threads.clear();
  Tally tally;
  for (const auto& worker : workers) tally.Add(worker->tally());
  return Judge(tally, options_.seconds, vitals);
}

bool Run::Judge(const Tally& tally, double seconds, const Vitals& vitals) const {
  Print(std::cout, tally, seconds);
  vitals.Print(std::cout);
  double load = 0;
  std::ifstream("/proc/loadavg") >> load;
  std::cout << "  load of the machine: " << load << std::endl;
  bool passed = tally.unexpected.empty();
  const auto growth = double(vitals.Memory(1) - vitals.Memory(0.5));
  if (seconds >= 2 * kSecondsUntilWarm &&
      growth > kFluctuation + kLeakedByRequest * double(tally.Requests()) / 2)
    passed = Complain("memory grows by " + std::to_string(growth) + " bytes");
  return passed;
}

bool Run::Examine() const {
  Requests requests(socket_);
  requests.Expect("restart", kRestart);
  const Answer findings = requests.Expect("doctor", Enumerate("Kelvarion_Finding"));
  bool passed = requests.tally().unexpected.empty();
  for (const Json& finding : findings.objects) passed = Complain("doctor: " + finding.dump());
  return passed;
}

bool Run::End() {
  daemon_.Terminate();
  const testing::ProcessResult end = daemon_.Wait();
  if (end.exit_code == 0) return true;
  return Complain("the daemon ended with " + std::to_string(end.exit_code) + ": " + end.err);
}

}  // namespace
}  // namespace kelvarion::load

int main(int argc, char** argv) {
  CLI::App app("Puts a kelvariond under the load of many clients.", "kelvarion-load");
  kelvarion::load::Options options;
  const auto option = [&](const char* name, auto& value, const char* what) {
    app.add_option(name, value, what)->capture_default_str();
  };
  option("--repositories", options.size.repositories, "How many stand on the server");
  option("--users", options.size.users, "How many it has");
  option("--rules", options.size.rules, "How many it has");
  option("--clients", options.clients, "How many administer it at the same time");
  option("--rough-clients", options.rough_clients, "How many of bad manners do");
  option("--movers", options.movers, "How many create, import, rename and delete repositories");
  option("--svn-users", options.svn_users, "How many work with svn meanwhile");
  option("--seconds", options.seconds, "How long each stage takes");
  option("--seed", options.seed, "Decides who does what");
  option("--programs", options.programs, "The build whose programs run");
  CLI11_PARSE(app, argc, argv);
  try {
    const bool passed = kelvarion::load::Run(options).Pass();
    // What is left of the server is known when it is gone.
    return passed && !testing::UnitTest::GetInstance()->Failed() ? 0 : 1;
  } catch (const std::exception& exception) {
    std::cerr << "kelvarion-load: " << exception.what() << std::endl;
    return 1;
  }
}
