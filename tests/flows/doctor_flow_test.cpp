// What is broken by hand in a whole installation, found and healed; the everyday commands for the
// server.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>

#include "tests/support/real_server.h"

namespace kelvarion::testing {
namespace {

using ::testing::HasSubstr;

constexpr int kInOrder = 0;
constexpr int kErrors = 1;
constexpr int kWarnings = 3;

struct Fault {
  const char* how;      // For the shell, in the home.
  const char* check;    // That finds it.
  const char* message;  // A part of it.
  int exit_code;
  const char* mend = nullptr;  // What heals it where --fix does not.
  bool by_root = false;        // Only root can break it so.
};

constexpr Fault kFaults[] = {
    {"chmod 0644 server/certs/server.pem", "HomeFiles", "others could read it", kErrors},
    {"chmod 0777 server/conf", "HomeFiles", "others could change it", kErrors},
    {"chmod 0700 server/WebUI/assets", "HomeFiles", "0700", kErrors, nullptr, true},
    {"chown daemon registry.db", "HomeFiles", "another account", kErrors, nullptr, true},
    {"echo '# mine' >>server/conf/httpd.conf", "GeneratedFiles", "not what the settings say",
     kErrors},
    {"rm server/htdocs/index.html", "GeneratedFiles", "missing", kErrors},
    {"echo Nonsense >server/conf/httpd-custom.conf", "WebServerConfiguration",
     "Invalid command 'Nonsense'", kErrors, ": >server/conf/httpd-custom.conf"},
    {"cp server/certs/server.pem kept; openssl req -x509 -newkey ec -pkeyopt "
     "ec_paramgen_curve:P-256 -noenc -days 5 -subj /CN=localhost -keyout key -out new 2>/dev/null; "
     "cat key new >server/certs/server.pem",
     "Certificate", "expires in", kWarnings, "cat kept >server/certs/server.pem"},
    {"cat new kept >server/certs/server.pem", "Certificate", "no private key", kWarnings,
     "cat kept >server/certs/server.pem; rm kept key new"},
    {"rm repositories/demo/hooks/pre-commit", "Hooks", "launcher is missing", kErrors},
    {"chmod a-x repositories/demo/hooks/pre-commit", "Hooks", "may not run it", kErrors},
    {"echo '# old' >>repositories/demo/hooks/pre-commit", "Hooks", "of this version", kWarnings},
    {"echo '#!/no/such' >repositories/demo/hooks/pre-commit.cmd", "Hooks", "/no/such", kErrors,
     "echo '#!/bin/sh' >repositories/demo/hooks/pre-commit.cmd"},
    {"touch -d '2 hours ago' repositories/htpasswd.tmp", "Leftovers", "was killed", kInOrder},
    {"touch -d '2 hours ago' repositories/demo/hooks/pre-commit.new", "RepositoryLeftovers",
     "was killed", kInOrder},
    {"mkdir -p repositories/.kelvarion/dead/repository", "Leftovers", "1 unfinished", kWarnings},
    {"mv repositories/demo/format kept", "Opens", "does not open", kErrors,
     "mv kept repositories/demo/format"},
    {"mkdir -p repositories/DEMO/conf", "RepositoriesRoot", "differ only in case", kErrors,
     "rm -r repositories/DEMO"},
    {"cp repositories/htpasswd kept; echo broken >>repositories/htpasswd", "AccessRules",
     "'user:hash'", kErrors, "cp kept repositories/htpasswd; rm kept"},
    {"chmod 0700 repositories/demo", "RepositoryReach", "cannot read and change", kErrors, nullptr,
     true},
};

class DoctorFlowTest : public ::testing::Test {
 protected:
  DoctorFlowTest() {
    EXPECT_TRUE(server.Ctl({"repository", "create", "demo"}).ok());
    server.CreateUser("alice", "secret");
    WriteText(server.folder + "/hook", "#!/bin/sh\n");
    EXPECT_TRUE(server.Ctl({"hook", "set", "demo", "pre-commit", server.folder + "/hook"}).ok());
    server.Start();
  }

  void Shell(const std::string& command) const {
    const ProcessResult result =
        RunProcess({"sh", "-c", "cd '" + server.home + "' && { " + command + "\n}"});
    EXPECT_EQ(result.exit_code, 0) << result.all();
  }
  Reply Doctor(std::vector<std::string> options = {}) const {
    options.insert(options.begin(), "doctor");
    return server.Ctl(options);
  }
  // The finding of the fault; null when there is none.
  static Json FindingOf(const Fault& fault, const Reply& reply) {
    for (const Json& finding : reply.document["objects"])
      if (finding["Check"] == fault.check &&
          finding["Message"].get<std::string>().find(fault.message) != std::string::npos)
        return finding;
    return nullptr;
  }

  RealServer server;
};

TEST_F(DoctorFlowTest, EachFaultIsFoundAndHealedAndThenNothingIsLeft) {
  // Changed files wait for a restart, which is not what this is about.
  const auto is_clean = [](const Reply& reply) {
    return reply.process.exit_code == kInOrder &&
           std::ranges::all_of(reply.document["objects"], [](const Json& finding) {
             return finding["Check"] == "RestartPending";
           });
  };
  const Reply fresh = Doctor();
  EXPECT_TRUE(fresh.document["objects"].empty()) << fresh.process.out;
  for (const Fault& fault : kFaults) {
    if (fault.by_root && geteuid() != 0) continue;
    SCOPED_TRACE(fault.how);
    Shell(fault.how);
    const Reply found = Doctor();
    EXPECT_EQ(found.process.exit_code, fault.exit_code);
    const Json finding = FindingOf(fault, found);
    ASSERT_FALSE(finding.is_null()) << found.process.all();
    EXPECT_EQ(finding["Repairable"], fault.mend == nullptr);
    const Reply fixed = Doctor({"--fix"});
    EXPECT_EQ(FindingOf(fault, fixed).value("Repaired", false), fault.mend == nullptr)
        << fixed.process.out;
    if (fault.mend) Shell(fault.mend);
    const Reply after = Doctor();
    EXPECT_TRUE(is_clean(after)) << after.process.all();
  }
}

// Whoever asks can read the file; what counts is that the web server cannot.
TEST_F(DoctorFlowTest, RulesThatTheWebServerMayNotReadRefuseAccess) {
  if (geteuid() != 0) GTEST_SKIP() << "only root's server has workers of another account";
  EXPECT_TRUE(server.Ctl({"access", "add", "demo", "/", "alice", "write"}).ok());
  EXPECT_EQ(server.Ctl({"access", "check"}).process.exit_code, 0);
  Shell("chmod 0600 repositories/demo/conf/Kelvarion-SvnAuthz.ini");
  EXPECT_EQ(server.HttpStatus("alice", "secret", server.Url("demo/")), 403);
  EXPECT_EQ(server.Ctl({"access", "check"}).process.exit_code, 1);
  const Json access = server.Ctl({"access", "explain", "demo", "/", "--account", "alice"}).object();
  EXPECT_EQ(access["AccessLevel"], 0);
  EXPECT_THAT(access["Explanation"].get<std::string>(), HasSubstr("'www-data' may not read it"));
}

TEST_F(DoctorFlowTest, TheServerTellsHowItIsAndWhatCameOfEachRequest) {
  const auto type = [&](const char* verb, int exit_code, const std::string& words) {
    const ProcessResult result = server.Text({"server", verb});
    EXPECT_EQ(result.exit_code, exit_code) << verb << ": " << result.all();
    EXPECT_THAT(result.all(), HasSubstr(words)) << verb;
  };
  const std::string place = "127.0.0.1:" + std::to_string(server.port);
  type("status", 0, "State           running\n");
  type("status", 0, "Listens on      " + place + " (HTTP)\n");
  type("status", 0, "Repositories    1 in " + server.root + "\nUsers           1\n");
  type("start", 0, "running already");
  WriteText(server.File("server/conf/httpd-custom.conf"), "Nonsense\n");
  type("status", 0, "changes wait for: server restart");
  type("restart", 1, "Invalid command 'Nonsense'");
  type("status", 0, "server configuration. Correct what it names");
  EXPECT_EQ(server.HttpStatus("alice", "secret", server.base() + "/"), 200);
  WriteText(server.File("server/conf/httpd-custom.conf"), "Header always set X-Now yes\n");
  type("restart", 0, "new configuration");
  EXPECT_THAT(RunProcess({"curl", "-sI", server.base() + "/"}).out, HasSubstr("X-Now: yes"));
  type("stop", 0, "is stopped");
  type("stop", 0, "stopped already");
  type("status", 1, "State           stopped\n");
  WriteText(server.File("server/conf/httpd-custom.conf"), "Nonsense\n");
  type("start", 1, "Invalid command 'Nonsense'");
  type("status", 1, "It has failed: ");
  WriteText(server.File("server/conf/httpd-custom.conf"), "");
  type("restart", 0, "");
  kill(server.ServerPid(), SIGKILL);
  EXPECT_TRUE(server.Reaches(1));
  EXPECT_EQ(Doctor({"--fix", "--quiet"}).process.exit_code, kErrors);
  type("start", 0, "The server runs.");
}

}  // namespace
}  // namespace kelvarion::testing
