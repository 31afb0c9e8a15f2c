// The location that masters are replicated from, as a real server has it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/flows/replication_server.h"

namespace kelvarion::testing {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

void ExpectEverythingAndNoChange(const ReplicationServer& master) {
  const auto svn = [&](const std::vector<std::string>& words) {
    return master.accounts().Svn(master.kPartnerName, words);
  };
  const std::string demo = master.Location("/demo");
  EXPECT_THAT(svn({"log", "-qv", "--xml", demo}).out, HasSubstr("/secret"));
  EXPECT_EQ(svn({"ls", demo}).out, "open/\nsecret/\n");
  for (const std::vector<std::string>& change :
       {std::vector<std::string>{"mkdir", "-m", "no", demo + "/new"},
        {"rm", "-m", "no", demo + "/open"},
        {"propset", "--revprop", "-r1", "svn:log", "no", demo}})
    EXPECT_NE(svn(change).exit_code, 0) << change[0];

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
  for (const auto& row : rows)
    EXPECT_EQ(master.accounts().Send(row.user, {{row.method, master.Location(row.path)}}).front(),
              row.status)
        << row.user << ' ' << row.method << ' ' << row.path;
}

TEST(ReplicationLocationTest, PartnersSeeEverythingAndChangeNothingOthersSeeNothing) {
  const ReplicationServer master;
  const RealServer& server = master.server();
  const auto member = [&] { return master.accounts().Status("member", master.Location("/demo/")); };
  master.Commit("open");
  master.Commit("secret");
  ASSERT_EQ(Outcome(master.accounts().Svn("partner", {"ls", server.Url("demo/secret")})), "403");
  {
    SCOPED_TRACE("with a prefix");
    ExpectEverythingAndNoChange(master);
    EXPECT_EQ(member(), 403);
    EXPECT_THAT(master.accounts().ErrorLog(),
                HasSubstr("replication of 'demo' refused to 'other' (GET): "
                          "the account is not one of its replicators"));
  }
  // Now the location lies below that of the repositories.
  server.Ctl({"settings", "set", "RepositoriesURLPrefix", ""});
  server.Ctl({"settings", "set", "OrmuReplicationPartnersSID", master.kMember});
  server.Restart();
  SCOPED_TRACE("without a prefix");
  ExpectEverythingAndNoChange(master);
  // The group of partners may replicate whomever the repository names.
  EXPECT_EQ(member(), 200);
}

// What decides is read with each request; nothing needs a restart.
TEST(ReplicationLocationTest, TheRepositoryDecidesAtOnce) {
  const ReplicationServer master;
  const auto status = [&](const char* user) {
    return master.accounts().Status(user, master.Location("/demo/"));
  };
  EXPECT_EQ(status("member"), 403);
  master.SetReplication("yes", "s-1-22-1-50003");
  EXPECT_EQ(status("member"), 200);
  EXPECT_EQ(status("partner"), 403);
  master.SetReplication("no", master.kPartner);
  EXPECT_EQ(status("partner"), 403);
  master.SetReplication("neither", master.kPartner);
  EXPECT_EQ(status("partner"), 403);
  master.SetReplication("yes", master.kPartner);
  EXPECT_EQ(status("partner"), 200);
  master.SetRole("master", true);
  EXPECT_EQ(status("partner"), 403);
  master.SetRole("slave", false);
  EXPECT_EQ(status("partner"), 404);

  // Without a master there is no location.
  EXPECT_TRUE(master.server().Ctl({"init"}).ok());
  EXPECT_EQ(ReadText(master.server().File("server/conf/replication.conf")), "");
}

// What an administrator has prepared for the next restart must not count before.
TEST(ReplicationLocationTest, AFirstMasterCountsAtOnceUnlessOtherChangesWait) {
  const RealServer server;
  server.Start();
  const auto create = [&](const std::string& name) {
    const Reply made = server.Call("Kelvarion_Repository", "CreateOrmuMaster", {"Name=" + name});
    EXPECT_EQ(made.status(), 0) << made.process.all();
    return made.warnings();
  };
  const auto waits = [&] {
    return server.Ctl({"doctor"}).process.all().find("RestartPending") != std::string::npos;
  };
  EXPECT_EQ(create("first"), "");
  EXPECT_FALSE(waits());
  server.Call("Kelvarion_Repository", "Delete", {"Name=first"});
  WriteText(server.File("server/conf/httpd-custom.conf"), "Header always set X-Prepared yes\n");
  EXPECT_THAT(create("second"), HasSubstr("is left to you"));
  EXPECT_TRUE(waits());
  EXPECT_THAT(RunProcess({"curl", "-sI", server.base() + "/"}).out, Not(HasSubstr("X-Prepared")));
}

}  // namespace
}  // namespace kelvarion::testing
