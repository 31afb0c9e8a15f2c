// Logging in with accounts of the machine: who is let in, as whom, how often PAM is asked, and what
// whoever guesses passwords gets.
#include <gmock/gmock.h>

#include <thread>

#include "platform/security/accounts.h"
#include "platform/text/encoding.h"
#include "tests/flows/login_server.h"
#include "tests/support/account_rules_server.h"
#include "tests/support/pam_matrix.h"
#include "tests/support/temporary_folder.h"

namespace kelvarion::testing {
namespace {

using ::testing::HasSubstr;

class AccountLoginFlowTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "Only root can make accounts.";
  }
};

TEST_F(AccountLoginFlowTest, ThePasswordOfAnAccountLetsItIn) {
  const MachineAccount account("sésame 1:2");
  LoginServer server;  // With the PAM service that it comes with.
  server.Start();
  EXPECT_EQ(server.Status(account.name(), "sésame 1:2"), 200);
  EXPECT_EQ(server.Status(account.name(), "sésame 1"), 401);
  EXPECT_EQ(server.Status("nobody-of-this-name", "x"), 401);
  EXPECT_THAT(server.Log(), HasSubstr("user '" + account.name() + "' refused: Authentication"));
  EXPECT_THAT(server.Events(), HasSubstr("The login of '" + account.name() + "' from 127.0.0.1"));
  EXPECT_THAT(server.Log(), ::testing::Not(HasSubstr("sésame")));
  const std::string host = platform::Utf8ForDisplay(platform::HostName());
  const ProcessResult made = server.Svn(host + "\\" + account.name(), "sésame 1:2",
                                        {"mkdir", "-m", "New", server.Open("a")});
  EXPECT_EQ(made.exit_code, 0) << made.all();
  EXPECT_THAT(server.Svn(account.name(), "sésame 1:2", {"log", server.Open()}).out,
              HasSubstr(" | " + account.name() + " | "))
      << "the account has one name, however it was called";
}

TEST_F(AccountLoginFlowTest, RulesHoldForWhoeverLoggedIn) {
  const MachineAccount reader("reads");
  const MachineAccount writer("writes");
  const MachineAccount stranger("strange");
  const LoginServer server;
  ASSERT_TRUE(server.Call("Kelvarion_Repository", "Create", {"Name=hidden"}).ok());
  for (const auto& [repository, rules] :
       {std::pair{"demo", Rules{{reader.Sid(), 1}, {writer.GroupSid(), 2}}},
        std::pair{"hidden", Rules{{stranger.Sid(), 1}}}})
    ASSERT_TRUE(server.Ctl(RealServer::SetRules(repository, "/", rules)).ok());
  server.Start();
  const auto outcome = [&](const MachineAccount& account, const char* password, const char* path,
                           std::vector<std::string> words) {
    words.push_back(server.Url(path));
    return Outcome(server.Svn(account.name(), password, words));
  };
  EXPECT_EQ(outcome(reader, "reads", "demo", {"ls"}), "allowed");
  EXPECT_EQ(outcome(reader, "reads", "demo/by reader", {"mkdir", "-m", "New"}), "403");
  EXPECT_EQ(outcome(writer, "writes", "demo/by writer", {"mkdir", "-m", "New"}), "allowed");
  EXPECT_EQ(outcome(stranger, "strange", "demo", {"ls"}), "403");
  EXPECT_EQ(server.HttpStatus(writer.name(), "wrong", server.Url("demo/")), 401);
  std::string page;
  EXPECT_EQ(server.HttpStatus(reader.name(), "reads", server.Url(), &page), 200);
  EXPECT_THAT(page, HasSubstr("\"demo/\""));
  EXPECT_THAT(page, ::testing::Not(HasSubstr("hidden")));
}

TEST_F(AccountLoginFlowTest, WhatChangesAboutAnAccountCountsOnceTheMemoryOfItIsOver) {
  const MachineAccount account("first");
  LoginServer server("AuthnKelvarionRemember 1");
  server.Start();
  const auto expect = [&](const char* password, int status, const char* why) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1100));
    EXPECT_EQ(server.Status(account.name(), password), status) << why;
  };
  expect("first", 200, "as it is");
  account.SetPassword("second");
  expect("second", 200, "the new password");
  expect("first", 401, "the old password");
  account.Change({"usermod", "--lock"});
  expect("second", 401, "locked");
  account.Change({"usermod", "--unlock"});
  expect("second", 200, "unlocked");
  account.Change({"chage", "--expiredate", "0"});
  expect("second", 401, "expired");
  account.Change({"chage", "--expiredate", "-1"});
  account.Change({"chage", "--lastday", "0"});
  expect("second", 401, "a password that has to be changed");
  EXPECT_THAT(server.Log(), HasSubstr("new one required"));
  account.Change({"passwd", "--delete", "--quiet"});
  expect("", 401, "an account without a password");
}

TEST_F(AccountLoginFlowTest, PamIsAskedOnceForAllRequestsOfAClient) {
  const MachineAccount account("sesame");
  LoginServer server;
  server.UseThisMachinesPam();
  server.Start();
  std::vector<std::thread> clients;
  for (int i = 0; i < 8; ++i)
    clients.emplace_back([&] { EXPECT_EQ(server.Status(account.name(), "sesame"), 200); });
  for (std::thread& client : clients) client.join();
  for (const char* folder : {"a", "a/b", "a/b/c"})
    EXPECT_EQ(
        server.Svn(account.name(), "sesame", {"mkdir", "-m", "New", server.Open(folder)}).exit_code,
        0);
  const ProcessResult out =
      server.Svn(account.name(), "sesame", {"checkout", server.Open(), server.folder + "/wc"});
  EXPECT_EQ(out.exit_code, 0) << out.all();
  EXPECT_EQ(server.CountQuestions(), 1);
}

TEST_F(AccountLoginFlowTest, WhatNoAccountCanHaveNeverReachesPam) {
  LoginServer server;
  server.UseThisMachinesPam();
  server.Start();
  // A NUL would hide what comes after it; curl cannot send one by itself.
  for (const std::string login : {"cm9vdDpzZWNyZXQAeA==", "cm9vAHQ6c2VjcmV0",
                                  "/zpzZWNyZXQ=", "cm8Kb3Q6c2VjcmV0", "cm9vdDo=", "OnNlY3JldA=="}) {
    const ProcessResult result = RunProcess({"curl", "-s", "-o", "/dev/null", "-w", "%{http_code}",
                                             "-H", "Authorization: Basic " + login, server.Open()});
    EXPECT_EQ(result.out, "401") << login;
  }
  EXPECT_EQ(server.Status("root", std::string(2000, 'x')), 401);
  EXPECT_EQ(server.CountQuestions(), 0);
}

TEST_F(AccountLoginFlowTest, GuessingGetsSlowerAndSlowerAndHoldsUpNobodyElse) {
  const MachineAccount victim("right");
  const MachineAccount other("sesame");
  LoginServer server;
  server.UseThisMachinesPam();
  server.Start();
  EXPECT_EQ(server.Status(victim.name(), "right"), 200);
  const auto guess = [&](const std::string& password) {
    return SecondsOf([&] { EXPECT_EQ(server.Status(victim.name(), password), 401) << password; });
  };
  const double first = guess("one");
  EXPECT_GT(guess("two"), 0.4);
  EXPECT_GT(guess("three"), 0.9);
  EXPECT_GT(guess("four"), 1.9);
  EXPECT_LT(first, 2.0) << "a first mistake costs nothing";
  // Many at once are not faster than one after the other.
  const int asked = server.CountQuestions();
  std::vector<ChildProcess> guesses;
  for (int i = 0; i < 40; ++i)
    guesses.emplace_back(std::vector<std::string>{"curl", "-s", "-o", "/dev/null", "-u",
                                                  victim.name() + ":" + std::to_string(i),
                                                  server.Open()});
  std::this_thread::sleep_for(std::chrono::seconds(1));
  EXPECT_LT(SecondsOf([&] { EXPECT_EQ(server.Status(other.name(), "sesame"), 200); }), 2.0);
  EXPECT_LT(SecondsOf([&] { EXPECT_EQ(server.Status(victim.name(), "right"), 200); }), 1.0)
      << "somebody at the same address who knows the password";
  EXPECT_LE(server.CountQuestions() - asked, 2) << "that of the other one and one guess";
}

TEST_F(AccountLoginFlowTest, TicketsAreRefusedWithTheReason) {
  LoginServer server;
  server.Allow({.passwords = false, .tickets = true});
  server.Start();
  EXPECT_EQ(server.Status("root", "secret"), 403);
  EXPECT_THAT(server.Log(), HasSubstr("integrated authentication is not available"));
  EXPECT_THAT(server.Log(), HasSubstr("logging in with tickets is not available"));
  EXPECT_TRUE(server.Helpers().empty()) << "nobody needs it";
}

TEST_F(AccountLoginFlowTest, AnAccountsOwnServerKnowsThatAccountsPasswordAlone) {
  const MachineAccount owner("sesame");
  const MachineAccount other("sesame");
  const TemporaryFolder build;
  LoginServer server(
      "", {{"setpriv", "--reuid=" + owner.name(), "--regid=" + owner.name(), "--clear-groups"},
           owner.name(),
           CopyOfTheBuild(build.native())});
  server.Start();
  EXPECT_EQ(server.Status(owner.name(), "sesame"), 200) << server.Log();
  EXPECT_EQ(server.Status(owner.name(), "wrong"), 401);
  EXPECT_EQ(server.Status(other.name(), "sesame"), 401);
}

// A server of an ordinary user, among accounts and passwords that are the test's own.
TEST(AccountLoginUnprivilegedFlowTest, AnOrdinaryUsersServerAsksPamWithTheRightsOfThatUser) {
  const std::string matrix = PamMatrix();
  if (matrix.empty()) GTEST_SKIP() << "libpam-wrapper is not installed.";
  const TemporaryFolder files;
  const std::string folder = files.native();
  chmod(folder.c_str(), 0755);
  WriteText(folder + "/passwd",
            ReadText("/etc/passwd") + "alice:x:4001:4001:::\nCORP\\bob:x:4002:4001:::\n");
  WriteText(folder + "/group", ReadText("/etc/group") + "staff2:x:4001:\n");
  WriteText(folder + "/passwords", "alice:sesame:kelvarion\nCORP\\bob:open:kelvarion\n");
  ServerOptions options;
  if (geteuid() == 0) {
    options = {{"setpriv", "--reuid=nobody", "--regid=nogroup", "--clear-groups"},
               "nobody:nogroup",
               CopyOfTheBuild(folder)};
    chmod(folder.c_str(), 0755);
  }
  for (const std::string variable :
       {"env", "LD_PRELOAD=libnss_wrapper.so", "NSS_WRAPPER_DISABLE_DEEPBIND=1",
        "ASAN_OPTIONS=verify_asan_link_order=0:detect_leaks=0"})
    options.runner.push_back(variable);
  options.runner.push_back("NSS_WRAPPER_PASSWD=" + folder + "/passwd");
  options.runner.push_back("NSS_WRAPPER_GROUP=" + folder + "/group");
  LoginServer server("LogLevel authn_kelvarion:info", options);
  const std::string module = matrix + " passdb=" + folder + "/passwords\n";
  server.UsePam("auth required " + module + "account required " + module);
  const std::string host = platform::Utf8ForDisplay(platform::HostName());
  const struct {
    bool upn;
    std::string name;
    std::string password;
    std::string author;  // Empty when it is refused.
  } rows[] = {
      {false, "alice", "sesame", "alice"},       {false, ".\\alice", "sesame", "alice"},
      {false, "CORP\\bob", "open", "CORP\\bob"}, {false, "alice", "wrong", ""},
      {false, "alice@" + host, "sesame", ""},    {true, "alice@" + host, "sesame", "alice@" + host},
      {true, "bob@CORP", "open", "bob@CORP"},    {true, "staff2", "sesame", ""},
  };
  bool upn = false;
  server.Start();
  for (const auto& row : rows) {
    if (row.upn != upn) {
      upn = row.upn;
      server.Allow({.upn = upn});
      server.Restart();
    }
    const ProcessResult made = server.Svn(
        row.name, row.password, {"mkdir", "-m", "New", server.Open(std::to_string(&row - rows))});
    EXPECT_EQ(made.exit_code == 0, !row.author.empty()) << row.name << made.all();
    if (row.author.empty()) continue;
    EXPECT_THAT(server.Svn(row.name, row.password, {"log", "-rHEAD", server.Open()}).out,
                HasSubstr(" | " + row.author + " | "));
  }
  EXPECT_GT(server.CountQuestions(), 0);
}

}  // namespace
}  // namespace kelvarion::testing
