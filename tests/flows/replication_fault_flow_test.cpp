// Replication while everything between a master and its slave breaks: two homes, each with its own
// web server and replication service, and a connection between them that can be cut.
//
// KELVARION_FAULT_SECONDS says for how long things break; `make faults` takes two minutes.

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <random>
#include <thread>

#include "tests/flows/replication_server.h"
#include "tests/support/forwarder.h"

namespace kelvarion::testing {
namespace {

using Words = std::vector<std::string>;

// A server whose service follows others' masters.
class Site : public ReplicationServer {
 public:
  Site() { service.Start(); }
  ~Site() { service.Stop(); }

  void KillServer() const {
    kill(server().ServerPid(), SIGKILL);
    EXPECT_TRUE(server().Reaches(1));
  }
  Reply Replication(Words words) const {
    words.insert(words.begin(), "replication");
    return server().Ctl(std::move(words));
  }
  void Trust(const std::string& name) const {
    const Reply reply =
        server().Call("Kelvarion_TrustedMaster", "Trust",
                      {"Server=" + name, "Scheme=http", std::string("Account=") + kPartnerName,
                       std::string("Password=") + kPartnerName});
    EXPECT_TRUE(reply.ok()) << reply.message();
  }
  std::string Folder(const std::string& repository) const {
    return server().root + "/" + repository;
  }
  int Youngest(const std::string& repository) const {
    return std::atoi(RunProcess({"svnlook", "youngest", Folder(repository)}).out.c_str());
  }
  // All there is, the properties of revisions included.
  std::string Dump(const std::string& repository) const {
    const ProcessResult dump = RunProcess({"svnadmin", "dump", "-q", Folder(repository)});
    EXPECT_EQ(dump.exit_code, 0) << dump.err;
    return dump.out;
  }

  const ReplicationService service{server()};
};

// Changes of all kinds, one after the other, as far as the master's web server takes them.
class Committer {
 public:
  explicit Committer(const Site& site) : site_(site), thread_([this] { Run(); }) {}
  ~Committer() { Stop(); }
  void Stop() {
    stop_ = true;
    if (thread_.joinable()) thread_.join();
  }

 private:
  void Run() {
    const std::string text = site_.server().folder + "/text";
    for (int i = 0; !stop_; ++i) {
      const std::string n = std::to_string(i);
      WriteText(text, std::string(1 + 977 * (i % 64), static_cast<char>('a' + i % 26)) + n);
      Words words{"svnmucc",
                  "--non-interactive",
                  "--no-auth-cache",
                  "--config-dir",
                  site_.server().folder + "/svn",
                  "--username",
                  "admin",
                  "--password",
                  "admin",
                  "-m",
                  "change " + n,
                  "-U",
                  site_.server().Url("demo")};
      const Words change = i % 5 == 4   ? Words{"cp", "HEAD", "d", "copy-" + n}
                           : i % 5 == 3 ? Words{"propset", "note", n, "d/f" + std::to_string(i % 7)}
                           : i % 5 == 2 ? Words{"rm", "d/f" + std::to_string(i % 7)}
                                        : Words{"put", text, "d/f" + std::to_string(i % 7)};
      words.insert(words.end(), change.begin(), change.end());
      RunProcess(words);
      if (i % 9 == 8)
        RunProcess({"svnadmin", "setrevprop", site_.Folder("demo"), "-r1", "svn:log", text});
    }
  }

  const Site& site_;
  std::atomic<bool> stop_ = false;
  std::thread thread_;
};

double Seconds() {
  const char* const text = std::getenv("KELVARION_FAULT_SECONDS");
  return text ? std::atof(text) : 6;
}

void ExpectEqual(const Site& master, const Site& slave) {
  const int last = master.Youngest("demo");
  // After a row of tries that failed the next one comes a minute later.
  ASSERT_TRUE(Eventually([&] { return slave.Youngest("copy") == last; }, std::chrono::seconds(120)))
      << slave.Replication({"status"}).process.all();
  for (const char* command : {"sync", "check"}) {
    const Reply reply = slave.Replication({command, "copy"});
    EXPECT_TRUE(reply.ok()) << command << ": " << reply.message();
  }
  EXPECT_TRUE(Eventually([&] {
    const Reply status = slave.Replication({"status"});
    return status.process.exit_code == 0 && status.object()["RevisionsBehind"] == 0;
  }));
  for (const std::string& folder : {master.Folder("demo"), slave.Folder("copy")})
    EXPECT_EQ(RunProcess({"svnadmin", "verify", "-q", folder}).all(), "");
  EXPECT_TRUE(master.Dump("demo") == slave.Dump("copy"));
}

TEST(ReplicationFaultTest, WhateverBreaksTheSlaveBecomesWhatItsMasterIs) {
  const Site master, slave;
  Forwarder way{master.server().CurrentPort()};
  master.Commit("d");
  slave.Trust(way.Name());
  const Reply added = slave.Replication({"add", "copy", way.Name(), "demo"});
  ASSERT_TRUE(added.ok()) << added.message();
  std::mt19937 random(std::random_device{}());
  const auto pause = [&](int most) {
    std::this_thread::sleep_for(std::chrono::milliseconds(random() % static_cast<unsigned>(most)));
  };
  Committer committer(master);
  const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(Seconds());
  int broken[3] = {};
  for (int i = 0; i < 3 || std::chrono::steady_clock::now() < end; ++i) {
    pause(1500);
    // Each kind at least once.
    switch (const unsigned kind = i < 3 ? static_cast<unsigned>(i) : random() % 3;
            ++broken[kind], kind) {
      case 0:
        slave.service.Kill();
        pause(800);
        slave.service.Start();
        break;
      case 1:
        master.KillServer();
        pause(800);
        master.server().Start();
        break;
      default:
        way.Cut();
        pause(800);
        way.Restore();
    }
  }
  committer.Stop();
  ExpectEqual(master, slave);
  RecordProperty("revisions", master.Youngest("demo"));
  std::cout << master.Youngest("demo") << " revisions; the service was killed " << broken[0]
            << " times, the web server " << broken[1] << ", the connection " << broken[2] << "\n";
}

}  // namespace
}  // namespace kelvarion::testing
