// The program that asks PAM for the web server: how long it lives, and who can reach it.
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/stat.h>

#include <atomic>
#include <thread>

#include "tests/flows/login_server.h"

namespace kelvarion::testing {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

class AccountHelperFlowTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "Only root can make accounts.";
  }
};

TEST_F(AccountHelperFlowTest, ThereIsOneWhileTheServerRunsAndNeedsIt) {
  const MachineAccount account("sesame");
  LoginServer server;
  server.Start();
  ASSERT_EQ(server.Helpers().size(), 1U);
  std::atomic<bool> restarted{false};
  std::atomic<int> served{0};
  std::thread client([&] {
    while (!restarted) {
      EXPECT_EQ(server.Status(account.name(), "sesame"), 200);
      ++served;
    }
  });
  for (int i = 0; i < 3; ++i) {
    server.Restart();
    EXPECT_TRUE(Eventually([&, before = served.load()] { return served > before + 3; }));
    EXPECT_EQ(server.Helpers().size(), 1U);
  }
  restarted = true;
  client.join();
  EXPECT_THAT(server.Log(), Not(HasSubstr("long lost child")));
  // A test of the configuration starts none.
  EXPECT_EQ(
      RunProcess({"apache2", "-t", "-f", server.File("server/conf/kelvarion.conf")}).exit_code, 0);
  EXPECT_EQ(server.Helpers().size(), 1U);
  EXPECT_TRUE(server
                  .CallService("SetAuthenticationOptions",
                               {"AuthType=2", "WindowsBasic=true", "WindowsIntegrated=false",
                                "UseUPNFormat=false"})
                  .ok());
  server.Restart();
  EXPECT_TRUE(Eventually([&] { return server.Helpers().empty(); })) << "nobody needs it any more";
  server.Allow({});
  server.Restart();
  EXPECT_EQ(server.Status(account.name(), "sesame"), 200);
  server.Stop();
  EXPECT_TRUE(server.Helpers().empty());
}

TEST_F(AccountHelperFlowTest, OneThatDiesIsReplaced) {
  const MachineAccount account("sesame");
  LoginServer server;
  server.Start();
  const std::vector<int> first = server.Helpers();
  ASSERT_EQ(first.size(), 1U);
  kill(first[0], SIGKILL);
  EXPECT_EQ(server.Status(account.name(), "sesame"), 200) << "whoever asks meanwhile waits";
  ASSERT_EQ(server.Helpers().size(), 1U);
  EXPECT_NE(server.Helpers(), first);
  EXPECT_THAT(server.Log(), HasSubstr("kelvarion-authn ended unexpectedly"));
}

TEST_F(AccountHelperFlowTest, ItEndsWithTheServerHoweverThatEnds) {
  LoginServer server;
  server.Start();
  const std::vector<int> supervisors = server.Pids("kelvarion-super");
  ASSERT_EQ(supervisors.size(), 1U);
  // Nobody cleans up.
  kill(supervisors[0], SIGSTOP);
  kill(server.ServerPid(), SIGKILL);
  EXPECT_TRUE(Eventually([&] { return server.Helpers().empty(); }));
  kill(supervisors[0], SIGCONT);
  EXPECT_TRUE(server.Reaches(1));
}

// A hook has the account of the workers and is started by one of them. This one looks for a way to
// the helper among what it inherited and in all processes of the server, and writes down what it
// finds. To show that it could find something it looks into a process of its own, too.
constexpr const char* kCuriousHook = R"(#!/usr/bin/python3
import ctypes, os, signal, sys
libc = ctypes.CDLL(None, use_errno=True)
home = sys.argv[1].split('/repositories/')[0]
report = open(sys.argv[1] + '/report', 'w')

def take(pid):
    handle = libc.syscall(434, pid, 0)  # pidfd_open
    for number in range(64):
        fd = libc.syscall(438, handle, number, 0)  # pidfd_getfd
        if fd >= 0:
            return os.readlink('/proc/self/fd/%d' % fd)

def read(path):
    try:
        return open(path).read()
    except OSError:
        return ''

def look(name, pid):
    report.write('%s: looked at\n' % name)
    if take(pid): report.write('%s: taken\n' % name)
    try:
        os.listdir('/proc/%d/fd' % pid)
        report.write('%s: listed\n' % name)
    except OSError: pass
    try:
        open('/proc/%d/mem' % pid, 'rb')
        report.write('%s: read\n' % name)
    except OSError: pass

for number in range(3, 256):
    try:
        report.write('inherited %d: %s\n' % (number, os.readlink('/proc/self/fd/%d' % number)))
    except OSError: pass
child = os.fork()
if child == 0: signal.pause()
look('control', child)
os.kill(child, signal.SIGKILL)
for pid in filter(str.isdigit, os.listdir('/proc')):
    name = read('/proc/%s/comm' % pid).strip()
    if name in ('apache2', 'kelvarion-authn') and home in read('/proc/%s/cmdline' % pid):
        look(name, int(pid))
report.write('done\n')
)";

TEST_F(AccountHelperFlowTest, AHookCannotReachIt) {
  const MachineAccount account("sesame");
  // A folder for dumps of memory would open workers to their own account.
  LoginServer server("CoreDumpDirectory /tmp");
  const std::string hook = server.root + "/demo/hooks/pre-commit";
  WriteText(hook, kCuriousHook);
  ASSERT_EQ(chmod(hook.c_str(), 0755), 0);
  server.Start();
  const ProcessResult made =
      server.Svn(account.name(), "sesame", {"mkdir", "-m", "New", server.Open("a")});
  ASSERT_EQ(made.exit_code, 0) << made.all();
  const std::string report = ReadText(server.root + "/demo/report");
  for (const char* line : {"control: taken", "control: listed", "control: read", "apache2: looked",
                           "kelvarion-authn: looked", "done"})
    EXPECT_THAT(report, HasSubstr(line));
  for (const char* line : {"socket:", "apache2: taken", "apache2: listed", "apache2: read",
                           "authn: taken", "authn: listed", "authn: read"})
    EXPECT_THAT(report, Not(HasSubstr(line)));
  EXPECT_EQ(server.Status(account.name(), "sesame"), 200);
}

}  // namespace
}  // namespace kelvarion::testing
