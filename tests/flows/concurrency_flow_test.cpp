// What is on disk after many processes worked at the same time.
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/real_server.h"

namespace kelvarion::testing {
namespace {

using Words = std::vector<std::string>;

constexpr int kWriters = 8;

class ConcurrencyFlowTest : public ::testing::Test {
 protected:
  // Runs all commands at once, one process each.
  void RunTogether(const std::vector<Words>& commands) const {
    std::vector<ChildProcess> children;
    for (const Words& words : commands) children.emplace_back(server.Command(words));
    for (ChildProcess& child : children) {
      const ProcessResult result = child.Wait();
      EXPECT_EQ(result.exit_code, 0) << result.all();
    }
  }

  const RealServer server;
};

std::string Numbered(const char* stem, int round) { return stem + std::to_string(round); }

TEST_F(ConcurrencyFlowTest, WritersOfUsersGroupsRepositoriesAndRulesLoseNone) {
  ASSERT_TRUE(server.Ctl({"repository", "create", "demo"}).ok());
  std::vector<Words> commands;
  for (int writer = 0; writer < kWriters; ++writer) {
    const std::string name = Numbered("Name=new", writer);
    commands.push_back({"call", "Kelvarion_User", "Create", name, "Password=x"});
    commands.push_back({"call", "Kelvarion_Group", "Create", name, "Members:=[]"});
    commands.push_back({"call", "Kelvarion_Repository", "Create", name});
    commands.push_back(
        RealServer::SetRules("demo", Numbered("/path", writer), {{"alice", 2}, {"*", 1}}));
  }
  RunTogether(commands);
  for (const char* each : {"Kelvarion_User", "Kelvarion_Group"})
    EXPECT_EQ(server.Ctl({"enumerate", each}).names().size(), 0U + kWriters) << each;
  const Reply repositories = server.Ctl({"enumerate", "Kelvarion_Repository"});
  EXPECT_EQ(repositories.names().size(), 1U + kWriters);
  for (const Json& each : repositories.document["objects"]) EXPECT_EQ(each["Type"], 0) << each;
  const std::string rules = ReadText(server.RulesFile("demo"));
  for (int writer = 0; writer < kWriters; ++writer)
    EXPECT_NE(rules.find("[" + Numbered("/path", writer) + "]\r\n*=r\r\nalice=rw\r\n\r\n"),
              std::string::npos);
}

// Whichever generation comes last has to have seen everybody's settings.
TEST_F(ConcurrencyFlowTest, ConcurrentChangesOfSettingsAllReachTheConfiguration) {
  constexpr int kRounds = 6;
  const std::string path = server.File("server/conf/httpd.conf");
  for (int round = 0; round < kRounds; ++round) {
    const std::string flag = std::to_string(round % 2);
    const std::vector<std::pair<std::string, std::string>> settings = {
        {"HttpSvnCacheSize", Numbered("1", round)},
        {"EnableAccessLogging", flag},
        {"EnableOperationalLogging", flag},
        {"DisableRedirectionFromLegacyWebInterface", flag},
        {"RepositoriesURLPrefix", Numbered("/svn", round)},
        {"ServerPort", Numbered("2000", round)},
        {"SSLServerPort", Numbered("2001", round)},
        {"ServerBindings", Numbered("127.0.0.", round)}};
    std::vector<Words> commands;
    for (const auto& [name, value] : settings) commands.push_back({"settings", "set", name, value});
    RunTogether(commands);
    const std::string generated = ReadText(path);
    EXPECT_TRUE(server.Ctl({"settings", "set", "UseUPNFormat", "0"}).ok());
    EXPECT_EQ(ReadText(path), generated) << "round " << round;
    for (const auto& [name, value] : settings)
      EXPECT_NE(server.Ctl({"settings", "get", name}).object()["Value"].dump().find(value),
                std::string::npos)
          << name;
  }
  EXPECT_FALSE(std::filesystem::exists(path + ".tmp"));
}

}  // namespace
}  // namespace kelvarion::testing
