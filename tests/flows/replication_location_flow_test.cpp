// The location that masters are replicated from, as a real server has it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "ormu/trust.h"
#include "tests/support/account_rules_server.h"

namespace kelvarion::testing {
namespace {

using ::testing::HasSubstr;

constexpr const char* kPartner = "S-1-22-1-50001";
constexpr const char* kMember = "S-1-22-1-50003";

class ReplicationLocationTest : public ::testing::Test {
 protected:
  // Who asks is a test's own module also in this location.
  static void Prepare(const AccountRulesServer& accounts) {
    const RealServer& server = accounts.server;
    for (const char* name : {"demo", "plain"}) {
      server.Call("Kelvarion_Repository", "Create", {std::string("Name=") + name});
      accounts.SetRules({{"/", {{"*", "rw"}}}, {"/secret", {{kPartner, ""}}}}, name);
    }
    Role(server, "master", false);
    Settings(server, "yes", kPartner);
    EXPECT_TRUE(server.Ctl({"init"}).ok());
    std::string text = ReadText(server.File("server/conf/kelvarion.conf"));
    text += "<Location /.kelvarion/replication>\nAuthType TestAccounts\n</Location>\n";
    WriteText(server.File("server/conf/kelvarion.conf"), text);
    server.Start();
  }
  static void Role(const RealServer& server, const std::string& role, bool suspended) {
    Replace(server.root + "/demo/ormu.conf",
            "role = " + role + "\nsuspended = " + (suspended ? "yes" : "no") +
                (role == "slave" ? "\nserver = other\nrepository = demo\n" : "\n"));
  }
  static void Settings(const RealServer& server, const std::string& enabled,
                       const std::string& replicator) {
    Replace(
        server.root + "/demo/conf/Kelvarion-Replication.ini",
        "[general]\r\nenabled = " + enabled + "\r\n[replicators]\r\n" + replicator + " = *\r\n");
  }
  static std::string Location(const RealServer& server, const std::string& rest) {
    return server.base() + "/.kelvarion/replication" + rest;
  }

 private:
  // Made in its folder, from which it has its access list.
  static void Replace(const std::string& path, const std::string& text) {
    WriteText(path + ".new", text);
    std::filesystem::rename(path + ".new", path);
  }
};

TEST_F(ReplicationLocationTest, PartnersSeeEverythingAndChangeNothingOthersSeeNothing) {
  const AccountRulesServer accounts(
      {{"partner", {kPartner}}, {"other", {"S-1-22-1-50002"}}, {"member", {kMember}}});
  const RealServer& server = accounts.server;
  for (const char* prefix : {"/svn", ""}) {
    server.Ctl({"settings", "set", "RepositoriesURLPrefix", prefix});
    if (*prefix) {
      Prepare(accounts);
      const std::string secret = server.Url("demo/secret");
      const auto made =
          accounts.Svn("admin", {"mkdir", "-m", "1", server.Url("demo/open"), secret});
      ASSERT_EQ(made.exit_code, 0) << made.all();
      ASSERT_EQ(Outcome(accounts.Svn("partner", {"ls", secret})), "403");
    } else {
      server.Ctl({"settings", "set", "OrmuReplicationPartnersSID", kMember});
      server.Restart();
    }
    SCOPED_TRACE(*prefix ? prefix : "without a prefix");
    const std::string demo = Location(server, "/demo");
    // What the rules keep from the account elsewhere.
    const ProcessResult seen = accounts.Svn("partner", {"log", "-qv", "--xml", demo});
    EXPECT_THAT(seen.out, HasSubstr("/secret")) << seen.all();
    EXPECT_EQ(accounts.Svn("partner", {"ls", demo}).out, "open/\nsecret/\n");
    for (const std::vector<std::string>& change :
         {std::vector<std::string>{"mkdir", "-m", "no", demo + "/new"},
          {"rm", "-m", "no", demo + "/open"},
          {"propset", "--revprop", "-r1", "svn:log", "no", demo}})
      EXPECT_NE(accounts.Svn("partner", change).exit_code, 0) << change[0];

    const struct {
      const char* user;
      const char* method;
      const char* path;
      int status;
    } rows[] = {
        {"partner", "GET", "/demo/", 200},     {"other", "GET", "/demo/", 403},
        {"nobody", "GET", "/demo/", 401},      {"partner", "GET", "/", 403},
        {"partner", "GET", "/plain/", 404},    {"partner", "GET", "/missing/", 404},
        {"partner", "LOCK", "/demo/x", 403},   {"partner", "POST", "/demo/!svn/me", 403},
        {"partner", "PUT", "/demo/x", 403},    {"partner", "MERGE", "/demo/", 403},
        {"partner", "DELETE", "/demo/x", 403},
    };
    for (const auto& row : rows) {
      const int status =
          accounts.Send(row.user, {{row.method, Location(server, row.path)}}).front();
      EXPECT_EQ(status, row.status) << row.user << ' ' << row.method << ' ' << row.path;
    }
    // The group of partners may replicate whatever the repository says.
    EXPECT_EQ(accounts.Status("member", demo + "/"), *prefix ? 403 : 200);
    EXPECT_THAT(accounts.ErrorLog(), HasSubstr("replication of 'demo' refused to 'other' (GET): "
                                               "the account is not one of its replicators"));
  }
}

// What decides is read with each request; nothing needs a restart.
TEST_F(ReplicationLocationTest, TheRepositoryDecidesAtOnce) {
  const AccountRulesServer::Accounts known{{"partner", {kPartner}}, {"member", {kMember}}};
  const AccountRulesServer accounts(known);
  const RealServer& server = accounts.server;
  Prepare(accounts);
  const auto status = [&](const char* user) {
    return accounts.Status(user, Location(server, "/demo/"));
  };
  EXPECT_EQ(status("member"), 403);
  Settings(server, "yes", "s-1-22-1-50003");
  EXPECT_EQ(status("member"), 200);
  EXPECT_EQ(status("partner"), 403);
  Settings(server, "no", kPartner);
  EXPECT_EQ(status("partner"), 403);
  Settings(server, "neither", kPartner);
  EXPECT_EQ(status("partner"), 403);
  Settings(server, "yes", kPartner);
  EXPECT_EQ(status("partner"), 200);
  Role(server, "master", true);
  EXPECT_EQ(status("partner"), 403);
  Role(server, "slave", false);
  EXPECT_EQ(status("partner"), 404);

  // Without a master there is no location.
  EXPECT_TRUE(server.Ctl({"init"}).ok());
  EXPECT_FALSE(std::filesystem::exists(server.File("server/conf/replication.conf")));
}

}  // namespace
}  // namespace kelvarion::testing
