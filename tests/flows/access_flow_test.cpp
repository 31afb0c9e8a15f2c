// Rules, groups and users as written through the provider, against what svn is then allowed to do.
#include <gtest/gtest.h>

#include "tests/support/account_rules_server.h"

namespace kelvarion::testing {
namespace {

// Who has which access, and what follows from it. staff holds devs (bob) and carol.
class AccessFlowTest : public ::testing::Test {
 protected:
  AccessFlowTest() {
    for (const char* user : {"alice", "bob", "carol", "dave"})
      server.CreateUser(user, Password(user));
    server.CreateGroup("devs", {"bob"});
    server.CreateGroup("staff", {"@devs", "carol"});
    for (const char* repository : {"demo", "open", "closed"})
      EXPECT_TRUE(
          server.Call("Kelvarion_Repository", "Create", {std::string("Name=") + repository}).ok());
    SetRules("demo", "/", {{"alice", 2}, {"@staff", 1}});
    SetRules("open", "/", {{"*", 1}, {"alice", 2}});
    SetRules("closed", "/", {{"*", 0}, {"alice", 2}});
    server.Start();
    for (const char* repository : {"demo", "open", "closed"}) Fill(server.Url(repository));
    SetRules("demo", "/trunk/secret", {{"@staff", 0}});
    SetRules("demo", "/trunk/secret/plans", {{"carol", 2}});
    SetRules("demo", "/trunk/shared", {{"@devs", 2}, {"carol", 0}});
    SetRules("demo", "/trunk/public", {{"*", 1}});
    SetRules("demo", "/trunk/público", {{"dave", 2}});
  }

  static std::string Password(const std::string& user) { return user + "'s päss:word"; }

  void SetRules(const std::string& repository, const std::string& path, const Rules& rules) const {
    const Reply reply = server.Ctl(RealServer::SetRules(repository, path, rules));
    EXPECT_TRUE(reply.ok()) << reply.message();
  }

  ProcessResult As(const std::string& user, std::vector<std::string> arguments) const {
    return server.Svn(user, Password(user), std::move(arguments));
  }

  void Fill(const std::string& url) const {
    std::vector<std::string> words = {"mkdir", "-m", "Fill", "--parents"};
    for (const char* each : {"secret/plans", "shared", "public", "público"})
      words.push_back(url + "/trunk/" + each);
    const ProcessResult filled = As("alice", words);
    EXPECT_EQ(filled.exit_code, 0) << filled.all();
  }

  std::string AccessOf(const std::string& user, const std::string& repository,
                       const std::string& path) const {
    const ProcessResult result =
        RunProcess({"svnauthz", "accessof", "--username", user, "--path", path, "--groups-file",
                    server.root + "/groups.conf", server.RulesFile(repository)});
    return result.exit_code == 0 ? result.out.substr(0, result.out.find('\n')) : result.all();
  }

  // As the explanation has it, in svnauthz's words.
  std::string ExplainedAccessOf(const std::string& user, const std::string& repository,
                                const std::string& path) const {
    const Reply reply = server.Ctl({"access", "explain", repository, path, "--account", user});
    EXPECT_TRUE(reply.ok()) << reply.message();
    return std::vector<std::string>{"no", "r", "rw"}.at(reply.object().value("AccessLevel", 9u));
  }

  RealServer server;
};

// svnauthz knows no users, so rows with a bad login are about the server alone.
TEST_F(AccessFlowTest, SvnReadsAndChangesExactlyWhatTheRulesSay) {
  const struct {
    const char* user;
    const char* repository;
    const char* path;
    const char* access;  // As svnauthz names it.
  } rows[] = {
      {"alice", "demo", "/", "rw"},
      {"alice", "demo", "/trunk/secret/plans", "rw"},
      {"bob", "demo", "/", "r"},  // By a group in a group.
      {"bob", "demo", "/trunk", "r"},
      {"bob", "demo", "/trunk/shared", "rw"},
      {"bob", "demo", "/trunk/secret", "no"},
      {"bob", "demo", "/trunk/secret/plans", "no"},
      {"carol", "demo", "/trunk", "r"},
      {"carol", "demo", "/trunk/shared", "no"},
      {"carol", "demo", "/trunk/secret", "no"},
      {"carol", "demo", "/trunk/secret/plans", "rw"},
      {"dave", "demo", "/trunk", "no"},
      {"dave", "demo", "/trunk/public", "r"},
      {"dave", "demo", "/trunk/público", "rw"},
      {"alice", "open", "/trunk", "rw"},
      {"bob", "open", "/trunk", "r"},
      {"alice", "closed", "/trunk", "rw"},
      {"bob", "closed", "/trunk", "no"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.user) + " in " + row.repository + row.path);
    const std::string access = row.access;
    const std::string url = server.Url(row.repository) + row.path;
    EXPECT_EQ(AccessOf(row.user, row.repository, row.path), access);
    EXPECT_EQ(ExplainedAccessOf(row.user, row.repository, row.path), access);
    EXPECT_EQ(Outcome(As(row.user, {"ls", url})), access == "no" ? "403" : "allowed");
    const std::string made = url + "/by " + row.user;
    EXPECT_EQ(Outcome(As(row.user, {"mkdir", "-m", "New", made})),
              access == "rw" ? "allowed" : "403");
    EXPECT_EQ(As("alice", {"ls", made}).exit_code == 0, access == "rw");
  }
  EXPECT_EQ(As("bob", {"ls", server.Url("demo/trunk")}).out.find("secret"), std::string::npos);
}

TEST_F(AccessFlowTest, ChangesOfGroupsPasswordsAndUsersCountAtOnce) {
  const std::string url = server.Url("demo/");
  const auto status = [&](const char* user) {
    return server.HttpStatus(user, Password(user), url);
  };
  const auto set_devs = [&](const std::vector<std::string>& members) {
    EXPECT_TRUE(server
                    .Call("Kelvarion_Group.Name=\"devs\"", "SetMembers",
                          {"Members:=" + RealServer::MemberPaths(members)})
                    .ok());
  };
  EXPECT_EQ(status("bob"), 200);
  set_devs({"dave"});
  EXPECT_EQ(status("bob"), 403);
  EXPECT_EQ(status("dave"), 200);

  EXPECT_TRUE(server.Call("Kelvarion_User.Name=\"dave\"", "SetPassword", {"Password=new"}).ok());
  EXPECT_EQ(status("dave"), 401);
  EXPECT_EQ(server.HttpStatus("dave", "new", url), 200);

  EXPECT_TRUE(server.Call("Kelvarion_User", "Delete", {"Name=dave"}).ok());
  EXPECT_EQ(server.HttpStatus("dave", "new", url), 401);
  EXPECT_TRUE(server.Call("Kelvarion_Group", "Delete", {"Name=staff"}).ok());
  EXPECT_EQ(status("carol"), 403);
}

// Apache keeps libraries mapped over a restart, and with them what they remember of the old mode.
TEST(AccessModesFlowTest, RulesHoldAfterTheWayToLogInChangesUnderARunningServer) {
  RealServer server;
  const auto set_mode = [&](const std::string& type, const std::string& basic) {
    ASSERT_TRUE(server
                    .CallService("SetAuthenticationOptions",
                                 {"AuthType=" + type, "WindowsBasic=" + basic,
                                  "WindowsIntegrated=false", "UseUPNFormat=false"})
                    .ok());
  };
  ASSERT_TRUE(server.Call("Kelvarion_Repository", "Create", {"Name=demo"}).ok());
  ASSERT_TRUE(server.Ctl({"item", "create", "demo", "/trunk", "/secret"}).ok());
  server.CreateUser("alice", "pw");
  set_mode("1", "true");
  server.Start();
  set_mode("0", "false");
  ASSERT_TRUE(server.Ctl(RealServer::SetRules("demo", "/", {{"alice", 2}})).ok());
  ASSERT_TRUE(server.Ctl(RealServer::SetRules("demo", "/secret", {{"alice", 0}})).ok());
  server.Restart();
  for (int i = 0; i < 3; ++i) {
    const ProcessResult listed = server.Svn("alice", "pw", {"ls", server.Url("demo")});
    EXPECT_EQ(listed.out, "trunk/\n") << listed.all();
  }
}

}  // namespace
}  // namespace kelvarion::testing
