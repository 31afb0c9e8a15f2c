// The replication service of one home, run by its service manager, and a master on another home's
// real server.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/sockios.h>
#include <sys/ioctl.h>

#include <filesystem>
#include <future>

#include "ormu/service_wire.h"
#include "ormu/status.h"
#include "ormu/trust.h"
#include "platform/files/files.h"
#include "platform/network/local_socket.h"
#include "platform/ormu/ormu.h"
#include "svn/error.h"
#include "svn/repository.h"
#include "svn/text.h"
#include "tests/flows/replication_server.h"

namespace kelvarion::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsSupersetOf;

std::vector<int> CodesOf(svn_error_t* error) {
  if (!error) return {};
  const SvnException failure(error);
  std::vector<int> codes;
  for (const SvnException::Link& link : failure.Links()) codes.push_back(link.code);
  return codes;
}

// A home whose slaves follow the masters of another one.
class SlaveHome : public RealServer {
 public:
  SlaveHome() : pool((svn::Initialize(), svn::Pool(nullptr))) {}
  ~SlaveHome() { service.Stop(); }

  void Trust(const std::string& server, const std::string& account) const {
    ormu::TrustMaster(home, server, {ormu::ReplicationUrl("http", server), account, account, ""});
  }
  bool ServiceHasOpen(const std::string& file) const {
    std::error_code gone;
    for (const auto& open : std::filesystem::directory_iterator(
             "/proc/" + std::to_string(service.Pid()) + "/fd", gone))
      if (std::filesystem::read_symlink(open, gone) == file) return true;
    return false;
  }

  ormu::ReplicationStatus Status() const {
    return ormu::ReadReplicationStatus(home, {root.begin(), root.end()}, pool);
  }
  ormu::SlaveStatus StatusOf(const std::string& name) const {
    for (const ormu::SlaveStatus& slave : Status().slaves)
      if (slave.name == name) return slave;
    return {};
  }
  std::string Log() const { return ReadText(File("server/logs/ormusvc.log")); }
  bool LogSays(const std::string& text) const { return Log().find(text) != std::string::npos; }
  std::string Youngest(const std::string& name) const {
    return RunProcess({"svnlook", "youngest", root + "/" + name}).out;
  }
  bool Has(const std::string& name, int revision) const {
    return Eventually([&] { return Youngest(name) == std::to_string(revision) + "\n"; });
  }

  const ReplicationService service{*this};
  const svn::Pool pool;
};

class ReplicationServiceTest : public ::testing::Test {
 protected:
  ReplicationServiceTest() {
    slave.Trust(master.Name(), master.kPartnerName);
    slave.service.Start();
  }
  void CreateSlave() const {
    svn::Check(ormusvc_client_create_slave(slave.home.c_str(), "copy", master.Name().c_str(),
                                           "demo", slave.pool));
  }
  // The codes of its failure; none for success.
  template <class Ask, class... Names>
  std::future<std::vector<int>> Request(Ask ask, Names... names) const {
    return std::async(std::launch::async, [this, ask, names...] {
      return CodesOf(ask(slave.home.c_str(), names..., slave.pool));
    });
  }
  std::string Property(const std::string& root, const std::string& repository) const {
    return RunProcess({"svn", "propget", "--revprop", "-r1", "svn:log",
                       "file://" + root + "/" + repository})
        .out;
  }

  const ReplicationServer master;
  const SlaveHome slave;
};

TEST_F(ReplicationServiceTest, ASlaveFollowsThroughKillsAndWhileItsMasterComesAndGoes) {
  master.Commit("open");
  master.Commit("secret");
  CreateSlave();
  ASSERT_TRUE(slave.Has("copy", 2)) << slave.Log();
  EXPECT_THAT(RunProcess({"svn", "ls", "file://" + slave.root + "/copy"}).out,
              HasSubstr("secret/"));
  master.Commit("third");
  ASSERT_TRUE(slave.Has("copy", 3)) << slave.Log();

  // What changes later in an old revision comes as well.
  const std::string text = slave.folder + "/text";
  WriteText(text, "another text");
  RunProcess({"svnadmin", "setrevprop", "-r1", master.server().root + "/demo", "svn:log", text});
  EXPECT_TRUE(Eventually([&] { return Property(slave.root, "copy") == "another text\n"; }));

  slave.service.Kill();
  const ormu::ReplicationStatus unserved = slave.Status();
  EXPECT_FALSE(unserved.service_runs);
  ASSERT_EQ(unserved.slaves.size(), 1u);
  EXPECT_EQ(unserved.slaves[0].revision, 3);
  // As a loss of power in the middle of a bulk load may leave it.
  bool written = false;
  platform::CreateAndWriteFile(svn::Utf16(slave.root + "/copy/db/bulk-load"), "2\nan earlier boot",
                               platform::NewFile::kPrivate, written);
  WriteText(slave.root + "/copy/db/current", "");
  master.Commit("fourth");
  slave.service.Start();
  ASSERT_TRUE(slave.Has("copy", 4)) << slave.Log();

  master.server().Stop();
  EXPECT_TRUE(Eventually([&] { return !slave.StatusOf("copy").last_error.empty(); }));
  master.server().Start();
  master.Commit("fifth");
  ASSERT_TRUE(slave.Has("copy", 5)) << slave.Log();
  ASSERT_TRUE(Eventually([&] {
    const ormu::SlaveStatus now = slave.StatusOf("copy");
    return now.last_error.empty() && now.revisions_behind == 0;
  }));
  const ormu::SlaveStatus status = slave.StatusOf("copy");
  EXPECT_EQ(status.master_server + "/" + status.master_repository, master.Name() + "/demo");
  EXPECT_EQ(status.revisions_behind, 0);
  EXPECT_EQ(status.seconds_behind, 0);
  // Told once, however often it was tried.
  const std::string events = slave.Events();
  const std::string failed = "The slave copy does not follow its master";
  EXPECT_NE(events.find(failed), events.npos) << events;
  EXPECT_EQ(events.find(failed, events.find(failed) + 1), events.npos) << events;
  EXPECT_THAT(events, HasSubstr("The slave copy follows its master again"));
}

TEST_F(ReplicationServiceTest, RequestsChangeSlavesOrSayWhyNot) {
  master.Commit("one");
  CreateSlave();
  const char* const home = slave.home.c_str();
  const std::string name = master.Name();
  const char* const server = name.c_str();
  apr_pool_t* const pool = slave.pool;
  std::int64_t revisions = 0;
  svn::Check(ormusvc_client_test_connection(home, &revisions, server, "demo", pool));
  EXPECT_EQ(revisions, 1);

  const auto test = [&](const char* where, const char* what) {
    return CodesOf(ormusvc_client_test_connection(home, &revisions, where, what, pool)).at(0);
  };
  EXPECT_EQ(test(server, "missing"), ORMU_ERR_NO_SUCH_MASTER);
  EXPECT_EQ(test("stranger", "demo"), ORMU_ERR_UNTRUSTED_MASTER);
  slave.Trust("localhost:1", "partner");
  EXPECT_THAT(
      CodesOf(ormusvc_client_test_connection(home, &revisions, "localhost:1", "demo", pool)),
      IsSupersetOf({ORMU_ERR_MASTER_FAILED, ORMU_ERR_SYSTEM + 1722}));
  EXPECT_EQ(CodesOf(ormusvc_client_create_slave(home, "../out", server, "demo", pool)).size(), 1u);
  EXPECT_NE(ormusvc_client_create_slave(home, "copy", server, "demo", pool), nullptr);
  EXPECT_EQ(CodesOf(ormusvc_client_downgrade_master(home, "copy", server, "demo", pool)).at(0),
            ORMU_ERR_WRONG_ROLE);

  svn::Check(ormusvc_client_rename_slave(home, "copy", "other", pool));
  master.Commit("two");
  svn::Check(ormusvc_client_sync_slave(home, "other", pool));
  EXPECT_EQ(slave.Youngest("other"), "2\n");
  svn::Check(ormusvc_client_check_consistency(home, "other", pool));
  svn::Check(ormusvc_client_relocate_slave(home, "other", server, "demo", pool));

  svn_repos_t* const other = svn::OpenRepository(svn::Utf16(slave.root + "/other"), slave.pool);
  svn::Check(ormu_set_suspended(other, true, pool));
  EXPECT_EQ(CodesOf(ormusvc_client_sync_slave(home, "other", pool)).at(0), ORMU_ERR_WRONG_ROLE);
  EXPECT_TRUE(slave.StatusOf("other").suspended);
  svn::Check(ormu_set_suspended(other, false, pool));
  master.Commit("three");
  EXPECT_TRUE(slave.Has("other", 3));

  // A master of its own history cannot go back.
  svn::Check(ormusvc_client_promote_slave(home, "other", pool));
  svn::Check(ormusvc_client_downgrade_master(home, "other", server, "demo", pool));
  svn::Check(ormusvc_client_promote_slave(home, "other", pool));
  EXPECT_EQ(RunProcess({"svn", "mkdir", "-qm", "own", "file://" + slave.root + "/other/own"}).all(),
            "");
  EXPECT_EQ(CodesOf(ormusvc_client_downgrade_master(home, "other", server, "demo", pool)).at(0),
            ORMU_ERR_DIVERGED);

  CreateSlave();
  svn::Check(ormusvc_client_delete_slave(home, "copy", pool));
  EXPECT_FALSE(std::filesystem::exists(slave.root + "/copy"));
  EXPECT_FALSE(std::filesystem::exists(slave.root + "/.kelvarion"));

  slave.service.Stop();
  EXPECT_THAT(CodesOf(ormusvc_client_sync_slave(home, "copy", pool)),
              ElementsAre(ORMU_ERR_SERVICE_FAILED, ORMU_ERR_SYSTEM + 1722));
}

// Who renames a repository has the names locked while he asks.
TEST_F(ReplicationServiceTest, NobodyHoldsASlaveWhileHeWaitsForTheNames) {
  CreateSlave();
  const std::string file = slave.root + "/Kelvarion-Global.lck";
  auto names = std::make_unique<platform::FileLock>(svn::Utf16(file));
  auto deleted = Request(ormusvc_client_delete_slave, "copy");
  ASSERT_TRUE(Eventually([&] { return slave.ServiceHasOpen(file); }));
  auto renamed = Request(ormusvc_client_rename_slave, "copy", "other");
  const bool in_time = renamed.wait_for(std::chrono::seconds(30)) == std::future_status::ready;
  EXPECT_TRUE(in_time);
  names.reset();
  EXPECT_THAT(renamed.get(), ElementsAre());
  EXPECT_NE(deleted.get().size(), 0u);
  EXPECT_TRUE(std::filesystem::exists(slave.root + "/other"));
}

// A server that takes connections and says nothing holds nobody up; over svn: nothing ends the
// wait.
TEST_F(ReplicationServiceTest, NobodyWaitsForASilentMasterNorFollowsAForgottenOne) {
  const HeldPort silent;
  CreateSlave();
  ASSERT_TRUE(Eventually([&] { return slave.StatusOf("copy").master_revision.has_value(); }));
  ormu::ForgetMaster(slave.home, master.Name());
  EXPECT_TRUE(Eventually([&] { return !slave.StatusOf("copy").last_error.empty(); }));
  ormu::TrustMaster(slave.home, silent.Name(), {"svn://" + silent.Name(), "", "", ""});
  const std::string folder = slave.root + "/copy";
  WriteText(folder + "/ormu.conf",
            "role = slave\nsuspended = no\nserver = " + silent.Name() + "\nrepository = demo\n");
  ASSERT_TRUE(Eventually([&] { return silent.WasAsked(); }));

  // What nobody waits for any more is not done.
  auto writer = std::make_unique<platform::FileLock>(svn::Utf16(folder + "/locks/replicator.lock"));
  platform::Descriptor client;
  ASSERT_EQ(platform::ConnectLocal(ormu::ServiceSocketPath(slave.home), client), 0u);
  const std::string promote = R"({"request": "promote_slave", "name": "copy"})";
  // In two pieces.
  ASSERT_EQ(platform::SendAll(client.get(), promote, 10'000), 0u);
  int unread = 1;
  EXPECT_TRUE(Eventually([&] { return !ioctl(client.get(), SIOCOUTQ, &unread) && !unread; }));
  ASSERT_EQ(platform::SendAll(client.get(), "\n", 10'000), 0u);
  client = platform::Descriptor();
  EXPECT_TRUE(Eventually([&] { return slave.LogSays("refused " + promote); })) << slave.Log();
  writer.reset();
  EXPECT_THAT(ReadText(folder + "/ormu.conf"), HasSubstr("role = slave"));

  auto promoted = Request(ormusvc_client_promote_slave, "copy");
  const bool in_time = promoted.wait_for(std::chrono::seconds(30)) == std::future_status::ready;
  EXPECT_TRUE(in_time);
  slave.service.Stop();
  EXPECT_THAT(promoted.get(), ElementsAre());
  EXPECT_EQ(slave.service.Property("ExitCode"), 0);
  EXPECT_THAT(slave.Log(), HasSubstr("stopped"));
}

}  // namespace
}  // namespace kelvarion::testing
