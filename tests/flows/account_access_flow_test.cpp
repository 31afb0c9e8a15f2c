// Accounts of this machine from the password to what its rules allow, with nothing of a test
// between.
#include <gmock/gmock.h>
#include <grp.h>
#include <pwd.h>

#include "tests/flows/login_server.h"
#include "tests/support/account_rules_server.h"

namespace kelvarion::testing {
namespace {

std::string SidOf(const MachineAccount& account) {
  return "S-1-22-1-" + std::to_string(getpwnam(account.name().c_str())->pw_uid);
}
std::string GroupSidOf(const MachineAccount& account) {
  return "S-1-22-2-" + std::to_string(getpwnam(account.name().c_str())->pw_gid);
}

TEST(AccountAccessFlowTest, RulesHoldForWhoeverLoggedIn) {
  if (geteuid() != 0) GTEST_SKIP() << "Only root can make accounts.";
  const MachineAccount reader("reads");
  const MachineAccount writer("writes");
  const MachineAccount stranger("strange");
  const LoginServer server;
  ASSERT_TRUE(server.Call("Kelvarion_Repository", "Create", {"Name=hidden"}).ok());
  for (const auto& [repository, rules] :
       {std::pair{"demo", Rules{{SidOf(reader), 1}, {GroupSidOf(writer), 2}}},
        std::pair{"hidden", Rules{{SidOf(stranger), 1}}}})
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
  EXPECT_THAT(page, ::testing::HasSubstr("\"demo/\""));
  EXPECT_THAT(page, ::testing::Not(::testing::HasSubstr("hidden")));
}

}  // namespace
}  // namespace kelvarion::testing
