// kelvariond as people run it: a process of its own, with the real provider and real clients.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <thread>

#include "errors/exception.h"
#include "host/client/http_exchange.h"
#include "platform/network/local_socket.h"
#include "platform/security/security.h"
#include "tests/support/real_server.h"

namespace kelvarion::testing {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using Words = std::vector<std::string>;

const std::string kBin = KELVARION_BUILD_DIR "/bin/";
const std::string kService = "Kelvarion_Service.Name=\"KelvarionServer\"";

// A daemon that answers.
class RunningDaemon {
 public:
  explicit RunningDaemon(const RealServer& server, Words options = {})
      : socket_(server.File("kelvariond.sock")), process_(Command(server, std::move(options))) {
    EXPECT_TRUE(Eventually([this] { return Connect().get() >= 0; }));
  }

  platform::Descriptor Connect() const {
    platform::Descriptor connection;
    platform::ConnectLocal(socket_, connection);
    return connection;
  }
  ProcessResult Terminate() {
    process_.Terminate();
    return process_.Wait();
  }
  ChildProcess& process() { return process_; }

  static Words Command(const RealServer& server, Words options) {
    options.insert(options.begin(), {kBin + "kelvariond", "--home", server.home});
    return options;
  }

 private:
  const std::string socket_;
  ChildProcess process_;
};

// The last line of the answer; `progress` is called for every line that reports some.
host::Json LastLine(const platform::Descriptor& socket, const std::string& kind, const Json& body,
                    const std::function<void()>& progress = nullptr) {
  host::Json last;
  host::Exchange(socket.get(), "/v1/" + kind, body.dump(), [&](const host::Json& line) {
    if (progress && line.contains("progress")) progress();
    last = line;
  });
  return last;
}

std::uint32_t Ask(const platform::Descriptor& socket, const std::string& kind, const Json& body) {
  return LastLine(socket, kind, body)["status"];
}

// Revisions without content; it takes minutes to load many.
std::string DumpOf(int revisions) {
  std::string dump = "SVN-fs-dump-format-version: 2\n\n";
  for (int i = 0; i <= revisions; ++i)
    dump += "Revision-number: " + std::to_string(i) +
            "\nProp-content-length: 10\nContent-length: 10\n\nPROPS-END\n\n";
  return dump;
}

Json Import(const std::string& name, const std::string& dump, const std::string& activity) {
  return {{"path", "Kelvarion_Repository"},
          {"method", "ImportRepository"},
          {"parameters", {{"Name", name}, {"ImportPath", dump}, {"ImportMode", 1}}},
          {"context", {{"ActivityId", activity}}}};
}

TEST(DaemonFlowTest, AnswersAreTheSameThroughTheDaemonAndInProcess) {
  const RealServer server;
  RunningDaemon daemon(server);
  server.CreateUser("alice", "secret");
  server.CreateUser("ülf", "geheim");
  server.CreateGroup("devs", {"alice", "ülf"});
  ASSERT_TRUE(server.Call("Kelvarion_Repository", "Create", {"Name=demo"}).ok());
  ASSERT_TRUE(server.Ctl(RealServer::SetRules("demo", "/", {{"@devs", 2}, {"*", 1}})).ok());
  const std::string demo = "Kelvarion_Repository.Name=\"demo\"";
  const Words rows[] = {
      {"get", "Kelvarion_VersionInfo=@"},
      {"get", kService},
      {"get", "Kelvarion_User.Name=\"nobody\""},
      {"get", "Kelvarion_User.Name="},
      {"enumerate", "Kelvarion_User"},
      {"enumerate", "Kelvarion_Repository"},
      {"enumerate", "Kelvarion_Nothing"},
      {"delete", "Kelvarion_User.Name=\"nobody\""},
      {"put", "Kelvarion_User", "Name=nobody"},
      {"put", "Kelvarion_User", "Mail=x"},
      {"call", demo, "GetSecurity", "Path=/"},
      {"call", demo, "GetHook", "HookType=1"},
      {"call", "Kelvarion_Group.Name=\"devs\"", "GetMembers"},
      {"call", kService, "SetNetworkOptions", "Port=70000"},
      {"call", kService, "SetNetworkOptions", "Port=many"},
      {"call", "Kelvarion_User", "Invent", "A=1"},
      {"call", "Kelvarion_Activity", "Cancel", "Id=nobody"},
      {"--context", "A:=[\"a\",\"b\"]", "--context", "B:=7", "get", "Kelvarion_VersionInfo=@"},
  };
  for (const Words& words : rows) {
    for (const bool json : {true, false}) {
      Words through{kBin + "kelvarionctl", "--home", server.home};
      if (json) through.push_back("--json");
      through.insert(through.end(), words.begin(), words.end());
      Words in_process = through;
      in_process.insert(in_process.begin() + 1, "--in-process");
      const ProcessResult ours = RunProcess(through);
      const ProcessResult theirs = RunProcess(in_process);
      const std::string what = ::testing::PrintToString(words);
      EXPECT_EQ(ours.out, theirs.out) << what;
      EXPECT_EQ(ours.err, theirs.err) << what;
      EXPECT_EQ(ours.exit_code, theirs.exit_code) << what;
    }
  }
  EXPECT_EQ(daemon.Terminate().exit_code, 0);
  EXPECT_EQ(server.Ctl({"enumerate", "Kelvarion_User"}).names(), (Words{"alice", "ülf"}));
}

// Whoever runs the daemon may end it: what it started lives on, and it leaves no dead children.
TEST(DaemonFlowTest, ServicesOutliveTheDaemonThatStartedThem) {
  const RealServer server;
  RunningDaemon daemon(server);
  server.Start();
  const std::string children =
      ReadText("/proc/" + std::to_string(daemon.process().pid()) + "/task/" +
               std::to_string(daemon.process().pid()) + "/children");
  EXPECT_EQ(children, "");
  EXPECT_EQ(daemon.Terminate().exit_code, 0);
  EXPECT_EQ(server.Service()["ServiceState"], 4);
}

TEST(DaemonFlowTest, OnlyRootTheOwnerAndAdministratorsAreServed) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can become another user";
  const RealServer server;
  RunningDaemon daemon(server);
  const auto as = [&](const std::string& user, const std::string& group) {
    return RunProcess({"setpriv", "--reuid", user, "--regid", group, "--clear-groups", "curl", "-s",
                       "--unix-socket", server.File("kelvariond.sock"), "-d",
                       R"({"path":"Kelvarion_VersionInfo=@"})", "http://localhost/v1/get"})
        .out;
  };
  const std::string denied = R"({"status":2147749891,"statusText":"0x80041003","error":null})";
  EXPECT_EQ(as("65534", "65534"), denied + "\n");
  EXPECT_THAT(server.Ctl({"events"}).process.out, HasSubstr("S-1-22-1-65534"));

  // Membership counts at once, by user or by group.
  std::unique_ptr<platform::SecurityAuthority> accounts;
  ASSERT_EQ(platform::OpenSecurityAuthority(server.home, accounts), ERROR_SUCCESS);
  for (const char16_t* member : {u"S-1-22-1-65534", u"S-1-22-2-65534"}) {
    ASSERT_EQ(accounts->SetGroupMembers(u"Kelvarion Server Admins", {member}), ERROR_SUCCESS);
    EXPECT_THAT(as("65534", "65534"), HasSubstr("\"Version\""));
    EXPECT_EQ(as("65533", "65533"), denied + "\n");
  }
}

TEST(DaemonFlowTest, AKilledDaemonIsReplacedAndASecondOneRefused) {
  const RealServer server;
  RunningDaemon first(server);
  const ProcessResult second = RunProcess(RunningDaemon::Command(server, {}));
  EXPECT_EQ(second.exit_code, 1);
  EXPECT_THAT(second.err, HasSubstr("Another daemon"));
  first.process().Kill();
  first.process().Wait();
  // The socket of a dead daemon is as good as none.
  EXPECT_TRUE(server.Ctl({"get", "Kelvarion_VersionInfo=@"}).ok());
  RunningDaemon next(server);
  EXPECT_TRUE(server.Ctl({"get", "Kelvarion_VersionInfo=@"}).ok());
  EXPECT_EQ(next.Terminate().exit_code, 0);
  EXPECT_FALSE(fs::exists(server.File("kelvariond.sock")));
}

// Several imports at once, each cancelled by another client as soon as it reports progress.
TEST(DaemonFlowTest, ACancelledImportEndsAtOnceAndLeavesNothingBehind) {
  constexpr int kImports = 8;
  const RealServer server;
  RunningDaemon daemon(server);
  const std::string endless = server.folder + "/endless.dump";
  const std::string brief = server.folder + "/brief.dump";
  WriteText(endless, DumpOf(50'000));
  WriteText(brief, DumpOf(2));
  const auto client = [&](int number) {
    const std::string name = "import" + std::to_string(number);
    const Json cancel = {
        {"path", "Kelvarion_Activity"}, {"method", "Cancel"}, {"parameters", {{"Id", name}}}};
    const platform::Descriptor connection = daemon.Connect();
    std::chrono::steady_clock::time_point cancelled;
    const host::Json end = LastLine(connection, "call", Import(name, endless, name), [&] {
      if (cancelled.time_since_epoch().count() != 0) return;
      EXPECT_EQ(Ask(daemon.Connect(), "call", cancel), 0u);
      cancelled = std::chrono::steady_clock::now();
    });
    EXPECT_LT(std::chrono::steady_clock::now() - cancelled, std::chrono::seconds(20));
    EXPECT_EQ(end["status"], static_cast<std::uint32_t>(WBEM_E_FAILED));
    EXPECT_EQ(end["error"]["Description"], "Repository import has been cancelled.");
    EXPECT_FALSE(fs::exists(server.root + "/" + name));
    EXPECT_EQ(Ask(daemon.Connect(), "call", cancel), 1u) << "it has ended";
    EXPECT_EQ(Ask(connection, "call", Import(name, brief, name)), 0u);
  };
  std::vector<std::thread> clients;
  for (int i = 0; i < kImports; ++i) clients.emplace_back(client, i);
  for (std::thread& each : clients) each.join();
  EXPECT_EQ(server.Ctl({"enumerate", "Kelvarion_Repository"}).names().size(),
            std::size_t{kImports});
  EXPECT_FALSE(fs::exists(server.root + "/.kelvarion")) << "what was not whole";
}

// Nobody else knows of the import; that its client is gone is enough.
TEST(DaemonFlowTest, AnImportWhoseClientIsGoneLeavesNothingBehind) {
  const RealServer server;
  RunningDaemon daemon(server);
  const std::string endless = server.folder + "/endless.dump";
  WriteText(endless, DumpOf(50'000));
  struct Gone {};
  {
    const platform::Descriptor connection = daemon.Connect();
    EXPECT_THROW(
        LastLine(connection, "call", Import("demo", endless, "mine"), [] { throw Gone(); }), Gone);
  }
  EXPECT_TRUE(Eventually([&] { return !fs::exists(server.root + "/.kelvarion"); }));
  EXPECT_TRUE(server.Ctl({"enumerate", "Kelvarion_Repository"}).names().empty());
  EXPECT_EQ(daemon.Terminate().exit_code, 0);
}

}  // namespace
}  // namespace kelvarion::testing
