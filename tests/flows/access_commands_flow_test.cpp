// Rules given by `kelvarionctl access` are those that Apache and Subversion keep to.
#include <gtest/gtest.h>

#include "tests/support/real_server.h"

namespace kelvarion::testing {
namespace {

TEST(AccessCommandsFlowTest, EachCommandChangesWhatTheServerAllows) {
  RealServer server;
  server.CreateUser("alice", "secret");
  server.CreateUser("bob", "secret");
  server.CreateGroup("devs", {"alice"});
  ASSERT_TRUE(server.Call("Kelvarion_Repository", "Create", {"Name=demo"}).ok());
  server.Start();
  const auto may = [&](const std::string& user, const char* path) {
    return server.HttpStatus(user, "secret", server.Url(path)) == 200;
  };
  const auto access = [&](std::vector<std::string> words) {
    words.insert(words.begin(), "access");
    return server.Ctl(words);
  };
  EXPECT_FALSE(may("alice", "demo/"));
  ASSERT_TRUE(access({"add", "demo", "/", "@devs", "write"}).ok());
  const ProcessResult made = server.Svn(
      "alice", "secret", {"mkdir", "-m", "New", server.Url("demo/a"), server.Url("demo/b")});
  EXPECT_EQ(made.exit_code, 0) << made.all();
  EXPECT_FALSE(may("bob", "demo/a/"));
  ASSERT_TRUE(access({"add", "demo", "/a", "bob", "r"}).ok());
  EXPECT_TRUE(may("bob", "demo/a/"));
  EXPECT_FALSE(may("bob", "demo/b/"));

  EXPECT_EQ(access({"add", "demo", "/a", "bob", "none"}).status(), 0x80041019U);
  EXPECT_TRUE(may("bob", "demo/a/"));
  EXPECT_EQ(access({"set", "demo", "/a", "bob", "none"}).object().at("Access"), 0);
  EXPECT_FALSE(may("bob", "demo/a/"));
  ASSERT_TRUE(access({"add", "demo", "/", "bob", "1"}).ok());
  EXPECT_TRUE(may("bob", "demo/b/"));
  const Reply in_force = access({"list", "demo", "/a/x"});
  EXPECT_EQ(in_force.document.at("objects").size(), 2U) << ::testing::PrintToString(in_force);
  EXPECT_EQ(in_force.object().at("Path"), "/a");
  EXPECT_EQ(access({"list"}).document.at("objects").size(), 3U);
  ASSERT_TRUE(access({"remove", "demo", "/a", "bob"}).ok());
  EXPECT_TRUE(may("bob", "demo/a/"));

  for (const std::vector<std::string>& wrong : {std::vector<std::string>{"add", "demo", "/", "bob"},
                                                {"add", "demo", "/", "bob", "rwx"},
                                                {"add", "--global", "demo", "/", "bob", "read"},
                                                {"remove", "--global", "bob", "extra"}})
    EXPECT_EQ(access(wrong).process.exit_code, 2) << ::testing::PrintToString(wrong);

  // The same words while the server uses the accounts of the machine.
  ASSERT_TRUE(server
                  .CallService("SetAuthenticationOptions",
                               {"AuthType=1", "WindowsBasic=true", "WindowsIntegrated=false",
                                "UseUPNFormat=false"})
                  .ok());
  EXPECT_EQ(access({"add", "--global", "root", "read"}).object().at("Account"), "S-1-22-1-0");
  EXPECT_EQ(access({"add", "demo", "/", "S-1-5-18", "2"}).object().at("AccountName"),
            "NT AUTHORITY\\SYSTEM");
  EXPECT_EQ(access({"list", "demo", "/"}).document.at("objects").size(), 2U);
  EXPECT_EQ(access({"list", "--global"}).document.at("objects").size(), 1U);
  ASSERT_TRUE(access({"remove", "--global", "root"}).ok());
  EXPECT_EQ(access({"list"}).document.at("objects").size(), 1U);
}

}  // namespace
}  // namespace kelvarion::testing
