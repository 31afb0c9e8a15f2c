// The service as it is reported, against its processes, whatever happens to them.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <filesystem>
#include <optional>

#include "tests/support/real_server.h"

namespace kelvarion::testing {
namespace {

constexpr const char* kSettings = "PS_SvnServerConfiguration";
constexpr const char* kAlreadyRunning = "0x80070420";  // 1056
constexpr const char* kNotActive = "0x80070426";       // 1062

// Listens on a loopback port while it lives.
class OccupiedPort {
 public:
  explicit OccupiedPort(int port) : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(bind(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(listen(socket_, 1), 0);
  }
  ~OccupiedPort() { close(socket_); }
  OccupiedPort(const OccupiedPort&) = delete;
  OccupiedPort& operator=(const OccupiedPort&) = delete;

 private:
  int socket_;
};

class ServiceFlowTest : public ::testing::Test {
 protected:
  ServiceFlowTest() { server.CreateUser("alice", "secret"); }

  int RootStatus() const { return server.HttpStatus("alice", "secret", server.base() + "/"); }

  // `message` is the Win32 error's, with the error it ends with.
  void ExpectRefused(const std::string& method, const std::string& message,
                     const std::string& error) const {
    const Reply reply = server.CallService(method);
    EXPECT_EQ(reply.status(), 0x80041001) << method;
    EXPECT_EQ(reply.process.exit_code, 1);
    EXPECT_TRUE(reply.message().starts_with(message)) << reply.message();
    EXPECT_TRUE(reply.message().ends_with("(" + error + ")")) << reply.message();
  }

  void ExpectState(int state, bool failed) const {
    const Json service = server.Service();
    EXPECT_EQ(service["ServiceState"], state);
    EXPECT_EQ(service["ExitCode"] != 0, failed) << service["ExitCode"];
  }

  // The start is accepted or refused; either way it must be known at the end that it failed and
  // why.
  void ExpectStartFails(const std::string& reason) const {
    const Reply start = server.CallService("StartService");
    EXPECT_TRUE(server.Reaches(1));
    ExpectState(1, true);
    EXPECT_NE(start.warnings().find(reason), std::string::npos) << start.process.out;
    EXPECT_NE(server.Events().find(reason), std::string::npos) << server.Events();
  }

  RealServer server;
};

TEST_F(ServiceFlowTest, StartsAndStopsOnceAndSaysSo) {
  ExpectState(1, false);
  ExpectRefused("StopService", "Cannot stop service", kNotActive);
  ExpectRefused("RestartService", "Cannot control service", kNotActive);
  server.Start();
  ExpectState(4, false);
  EXPECT_EQ(RootStatus(), 200);
  const int pid = server.ServerPid();
  ExpectRefused("StartService", "Cannot start service", kAlreadyRunning);
  EXPECT_EQ(server.ServerPid(), pid);
  server.Restart();
  EXPECT_EQ(server.ServerPid(), pid) << "connections were dropped";
  EXPECT_EQ(RootStatus(), 200);
  server.Stop();
  ExpectState(1, false);
  EXPECT_NE(kill(pid, 0), 0);
  EXPECT_EQ(RootStatus(), 0);
  ExpectRefused("StopService", "Cannot stop service", kNotActive);
}

TEST_F(ServiceFlowTest, DeathBehindOurBackIsReportedAndCanBeRecoveredFrom) {
  for (const int signal : {SIGKILL, SIGSEGV}) {
    server.Start();
    EXPECT_EQ(RootStatus(), 200);
    kill(server.ServerPid(), signal);
    EXPECT_TRUE(server.Reaches(1)) << signal;
    ExpectState(1, true);
    EXPECT_EQ(RootStatus(), 0) << "orphaned workers go on serving";
    ExpectRefused("StopService", "Cannot stop service", kNotActive);
  }
  server.Start();
  ExpectState(4, false);
  EXPECT_EQ(RootStatus(), 200);
}

TEST_F(ServiceFlowTest, AnOccupiedPortFailsTheStartWithTheReason) {
  {
    const OccupiedPort held(server.port);
    const std::string reason = "could not bind to address 127.0.0.1:" + std::to_string(server.port);
    ExpectStartFails(reason);
  }
  server.Start();
}

// What an administrator breaks by hand, one at a time, on a server that speaks HTTPS.
class BrokenFileTest : public ServiceFlowTest {
 protected:
  struct Row {
    const char* what;
    const char* file;
    std::optional<std::string> content;  // Nothing to remove it.
    const char* reason;
  };

  BrokenFileTest() {
    server.scheme = "https";
    const Reply set = server.CallService(
        "SetNetworkOptions", {"Port=" + std::to_string(server.ssl_port), "UseSecureConnection=true",
                              "ListenIPAddressesArray:=[\"127.0.0.1\"]"});
    EXPECT_TRUE(set.ok()) << set.message();
  }

  void WithEach(const std::function<void(const Row&)>& check) const {
    const std::string own = ReadText(server.File("server/certs/server.pem"));
    const std::string certificate = own.substr(own.find("-----BEGIN CERTIFICATE"));
    const std::string key = RunProcess({"openssl", "genpkey", "-algorithm", "RSA"}).out;
    const Row rows[] = {
        {"syntax error", "conf/httpd-custom.conf", "Nonsense on\n", "Invalid command 'Nonsense'"},
        {"missing custom file", "conf/httpd-custom.conf", {}, "httpd-custom.conf"},
        {"missing types", "conf/mime.types", {}, "mime.types"},
        {"damaged configuration", "conf/httpd.conf", "<Location /svn>\n", "Location"},
        {"certificate of another kind", "certs/server.pem", "no certificate\n", "server.pem"},
        {"empty certificate", "certs/server.pem", "", "server.pem"},
        {"no key", "certs/server.pem", certificate, "server.pem"},
        {"key of another certificate", "certs/server.pem", key + certificate, "key"},
        {"no chain", "certs/certchain.pem", {}, "certchain.pem"},
    };
    for (const Row& row : rows) {
      SCOPED_TRACE(row.what);
      const std::string path = server.File(std::string("server/") + row.file);
      const std::string before = ReadText(path);
      std::filesystem::remove(path);
      if (row.content) WriteText(path, *row.content);
      check(row);
      WriteText(path, before);
    }
  }
};

TEST_F(BrokenFileTest, FailsTheStartWithTheReason) {
  WithEach([&](const Row& row) { ExpectStartFails(row.reason); });
  server.Start();
  ExpectState(4, false);
  EXPECT_EQ(RootStatus(), 200);
}

TEST_F(BrokenFileTest, NeverReachesTheRunningServer) {
  server.Start();
  const int pid = server.ServerPid();
  WithEach([&](const Row& row) {
    // A change of settings would write the damaged configuration anew.
    const bool change = std::string(row.file) != "conf/httpd.conf";
    const Reply refused = change ? server.Call(kSettings, "Set", {"EnableAccessLogging=true"})
                                 : server.CallService("RestartService");
    EXPECT_EQ(refused.status(), 0x80041001);
    EXPECT_TRUE(refused.message().starts_with("Cannot control service")) << refused.message();
    for (const std::string& text : {refused.warnings(), server.Events()})
      EXPECT_NE(text.find(row.reason), std::string::npos) << text;
    ExpectState(4, false);
    EXPECT_EQ(server.ServerPid(), pid);
    EXPECT_EQ(RootStatus(), 200);
  });
  const std::string custom = server.File("server/conf/httpd-custom.conf");
  WriteText(custom, "Header always set X-Repaired yes\n");
  server.Restart();
  EXPECT_TRUE(Eventually([&] {
    return RunProcess({"curl", "-ski", server.base() + "/"}).out.find("X-Repaired") !=
           std::string::npos;
  }));
  EXPECT_EQ(server.ServerPid(), pid);
}

TEST_F(ServiceFlowTest, APortTakenByOthersIsNotTakenUpByTheRunningServer) {
  server.Start();
  const int old_port = server.port;
  server.port = FreePort();
  const OccupiedPort held(server.port);
  EXPECT_EQ(server
                .CallService("SetNetworkOptions",
                             {"Port=" + std::to_string(server.port), "UseSecureConnection=false"})
                .message(),
            "The specified TCP port is occupied by another service. Please stop that service or "
            "use another port.");
  // The settings stay as they were asked for; the server does not follow.
  const std::string taken = "ListenPort=" + std::to_string(server.port);
  const Reply refused = server.Call(kSettings, "Set", {taken, "EnableAccessLogging=true"});
  EXPECT_EQ(refused.status(), 0x80041001);
  EXPECT_NE(refused.warnings().find(std::to_string(server.port)), std::string::npos)
      << refused.process.out;
  ExpectState(4, false);
  EXPECT_EQ(server.Service()["UnsecurePort"], server.port);
  EXPECT_EQ(server.Service()["AccessLoggingEnabled"], true);
  server.port = old_port;
  EXPECT_EQ(RootStatus(), 200);
  server.port = FreePort();
  EXPECT_TRUE(server.Call(kSettings, "Set", {"ListenPort=" + std::to_string(server.port)}).ok());
  EXPECT_EQ(RootStatus(), 200);
}

// The number of a process that has nothing to do with the server, such as this one.
TEST_F(ServiceFlowTest, AStalePidFileIsNotBelieved) {
  const std::string pid_file = server.File("server/run/KelvarionServer.pid");
  for (const std::string& pid : {std::to_string(getpid()), std::string("1"),
                                 std::string("99999999"), std::string("garbage"), std::string()}) {
    WriteText(pid_file, pid);
    EXPECT_EQ(server.Service()["ServiceState"], 1) << pid;
    ExpectRefused("StopService", "Cannot stop service", kNotActive);
    server.Start();
    EXPECT_EQ(RootStatus(), 200) << pid;
    server.Stop();
  }
}

}  // namespace
}  // namespace kelvarion::testing
