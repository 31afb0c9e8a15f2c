// The guard of slaves, and how repositories come to roles and lose them.
#include "ormu/slave_roles.h"

#include <gmock/gmock.h>
#include <svn_repos.h>

#include <filesystem>
#include <utility>

#include "ormu/consistency.h"
#include "ormu/replication_for_test.h"
#include "ormu/slave_guard.h"
#include "platform/ormu/ormu.h"
#include "svn/replica_role.h"
#include "svn/repository.h"
#include "svn/text.h"
#include "tests/support/test_home.h"

namespace kelvarion::ormu {
namespace {

namespace fs = std::filesystem;
using ::testing::AllOf;
using ::testing::HasSubstr;
using testing::ReadFile;
using testing::RunProcess;
using testing::WriteFile;

class SlaveRolesTest : public ReplicationTest {
 protected:
  void MakeBoth() const {
    Create("master");
    WriteFile(Path("file"), "text\n");
    Change("master", {"mkdir", "trunk", "put", Path("file"), "trunk/a"});
    Change("master", {"put", "/bin/true", "trunk/b", "propset", "p", "v", "trunk"});
    Change("master", {"cp", "2", "trunk", "branch", "put", "/bin/false", "branch/b"});
    MakeSlave("master", "slave");
    Sync("master", "slave");
  }
  // Every way in which a client of the file system changes a repository.
  std::vector<Words> Attempts(const std::string& name) const {
    const std::string url = Url(name);
    return {{"svn", "lock", url + "/trunk/a"},
            {"svn", "unlock", "--force", url + "/trunk/a"},
            {"svn", "mkdir", "-m", "x", url + "/new"},
            {"svnmucc", "-U", url, "-m", "x", "rm", "trunk/b"},
            {"svn", "import", "-m", "x", Path("file"), url + "/imported"},
            {"svn", "propset", "--revprop", "-r1", "svn:log", "x", url}};
  }
  void ExpectClosed(const std::string& name, const char* text) const {
    const std::string before = Dump(name);
    for (const Words& attempt : Attempts(name)) {
      const testing::ProcessResult result = RunProcess(attempt);
      EXPECT_NE(result.exit_code, 0) << ::testing::PrintToString(attempt);
      EXPECT_THAT(result.err, HasSubstr(text));
    }
    EXPECT_EQ(Dump(name), before);
  }
  void ExpectOpen(const std::string& name) const {
    Run({"ln", "-sf", "/bin/true", Path(name + "/hooks/pre-revprop-change")});
    for (const Words& attempt : Attempts(name)) Run(attempt);
  }
  void MakeSlaveWithOtherContents() const {
    fs::remove_all(Path("slave"));
    Create("slave");
    Run({"svnadmin", "setuuid", Path("slave"), Connect("master").uuid()});
    Change("slave", {"mkdir", "trunk", "put", "/bin/false", "trunk/a"});
    TurnIntoSlave(Path("slave"), "master.test", "master", pool_);
    MasterSession session = Connect("master");
    SynchroniseProperties(session, Path("slave"), 0, 1);
  }
  void FlipByte(const std::string& file) const {
    std::string bytes = ReadFile(Path(file));
    bytes[100] = static_cast<char>(bytes[100] ^ 1);
    fs::remove(Path(file));
    WriteFile(Path(file), bytes);
  }
  ormu_fs_info_t Info(const std::string& name) const {
    ormu_fs_info_t info;
    svn::Check(
        ormu_fs_info(&info, svn::OpenRepository(svn::PathFromDirent(Path(name)), pool_), pool_));
    return info;
  }
  static std::string Text(svn_error_t* error) {
    return FailureOf([&] { svn::Check(error); }).text;
  }
  static int Code(svn_error_t* error) {
    return FailureOf([&] { svn::Check(error); }).code;
  }
};

TEST_F(SlaveRolesTest, ClientsCannotChangeASlaveWhateverIsDoneToItsHooks) {
  MakeBoth();
  constexpr const char* kNamesMaster = "commit to the master: master on master.test";
  ExpectClosed("slave", kNamesMaster);
  // Revision properties need a hook that allows it.
  fs::remove_all(Path("slave/hooks"));
  fs::create_directory(Path("slave/hooks"));
  fs::create_symlink("/bin/true", Path("slave/hooks/pre-revprop-change"));
  ExpectClosed("slave", "Is a directory");
  MendGuard(Path("slave"), pool_);
  ExpectClosed("slave", kNamesMaster);

  // Nor while it is replicated to, and that can go on.
  {
    const SlaveWriteAccess access(Path("slave"), {[] { return false; }, u""}, pool_);
    ExpectClosed("slave", kNamesMaster);
    EXPECT_EQ(FailureOf([&] {
                SlaveWriteAccess(Path("slave"), {[] { return true; }, u"stop"}, pool_);
              }).text,
              "stop");
  }
  // Nobody who has given up gets it, even when it is free.
  EXPECT_EQ(FailureOf([&] {
              TurnIntoMaster(Path("slave"), pool_, {[] { return true; }, u"stop"});
            }).text,
            "stop");
  Change("master", {"mkdir", "more"});
  Sync("master", "slave");
  EXPECT_EQ(Dump("master"), Dump("slave"));
  ExpectClosed("slave", kNamesMaster);
}

TEST_F(SlaveRolesTest, ChangesOfRolesTakeTheGuardAlong) {
  MakeBoth();
  // An administrator's own program under the name of a hook comes back.
  WriteFile(Path("master/hooks/start-commit"), "#!/bin/sh\nexit 0\n");
  Run({"chmod", "+x", Path("master/hooks/start-commit")});
  TurnIntoSlave(Path("master"), "elsewhere:81", "new", pool_);
  ExpectClosed("master", "commit to the master: new on elsewhere:81");
  Relocate(Path("master"), "third", "r", pool_);
  EXPECT_STREQ(Info("master").master_server, "third");
  for (const char* name : {"r\nrole = master", "r\r", "\x7f"})
    EXPECT_EQ(FailureOf([&] { Relocate(Path("master"), "third", name, pool_); }).code,
              SVN_ERR_INCORRECT_PARAMS);
  EXPECT_FALSE(Info("master").is_master);
  fs::remove(Path("master/hooks/start-commit"));
  WriteFile(Path("master/hooks/start-commit"), "a second one");
  TurnIntoMaster(Path("master"), pool_);
  EXPECT_EQ(ReadFile(Path("master/hooks/start-commit")), "#!/bin/sh\nexit 0\n");
  EXPECT_EQ(ReadFile(Path("master/hooks/start-commit.kept2")), "a second one");
  ExpectOpen("master");
  EXPECT_TRUE(Info("master").is_master);

  // Killed between the steps, either way.
  svn::WriteReplicaRole(Path("slave"), {true, false, "", ""}, pool_);
  WriteFile(Path("master/hooks/start-commit"), "an own one");
  InstallGuardHooks(Path("master"), pool_);
  MendGuards(svn::PathFromDirent(folder_.native()), pool_);
  EXPECT_EQ(ReadFile(Path("master/hooks/start-commit")), "an own one");
  ExpectOpen("slave");
  Run({"svnadmin", "create", Path("half")});
  Change("half", {"mkdir", "trunk", "mkdir", "trunk/b", "put", Path("file"), "trunk/a"});
  svn::WriteReplicaRole(Path("half"), {false, false, "s", "r"}, pool_);
  MendGuard(Path("half"), pool_);
  ExpectClosed("half", "commit to the master: r on s");

  // What fails leaves the role and the guard.
  fs::remove_all(Path("half/db/write-lock"));
  WriteFile(Path("half/db/write-lock"), "");
  fs::rename(Path("half/hooks"), Path("half/kept"));
  WriteFile(Path("half/hooks"), "no folder");
  EXPECT_NE(FailureOf([&] { TurnIntoMaster(Path("half"), pool_); }).code, 0);
  EXPECT_FALSE(Info("half").is_master);
  fs::remove(Path("half/hooks"));
  fs::rename(Path("half/kept"), Path("half/hooks"));
  MendGuard(Path("half"), pool_);
  ExpectClosed("half", "commit to the master: r on s");
}

TEST_F(SlaveRolesTest, AMasterThatIsCommittedToMeanwhileStaysOne) {
  MakeBoth();
  TurnIntoMaster(Path("slave"), pool_);
  bool commits = true;
  MasterSession session(MasterNamed("master"),
                        {[&] {
                           // The histories were compared by then.
                           if (HasWriter(Path("slave")) && std::exchange(commits, false))
                             Change("slave", {"mkdir", "own"});
                           return false;
                         },
                         u""},
                        pool_);
  EXPECT_EQ(FailureOf([&] { TurnIntoSlave(session, Path("slave")); }).code, ORMU_ERR_DIVERGED);
  EXPECT_FALSE(commits);
  EXPECT_TRUE(Info("slave").is_master);
  ExpectOpen("slave");

  Create("empty");
  Run({"svnadmin", "setuuid", Path("empty"), session.uuid()});
  svn_fs_txn_t* begun = nullptr;  // As a client that has passed the hooks.
  svn_repos_t* const opened = svn::OpenRepository(svn::PathFromDirent(Path("empty")), pool_);
  svn::Check(svn_fs_begin_txn2(&begun, svn_repos_fs(opened), 0, 0, pool_));
  TurnIntoSlave(session, Path("empty"));
  EXPECT_EQ(Run({"svnadmin", "lstxns", Path("empty")}), "");
  svn_revnum_t made = 0;
  EXPECT_NE(Code(svn_fs_commit_txn(nullptr, &made, begun, pool_)), 0);
}

TEST_F(SlaveRolesTest, TheStoresOperationsMakeAndUnmakeRoles) {
  svn::Check(ormu_create_master(Path("new").c_str(), pool_));
  EXPECT_TRUE(Info("new").is_master && Info("new").is_ormu);
  svn_repos_t* const opened = svn::OpenRepository(svn::PathFromDirent(Path("new")), pool_);
  svn::Check(ormu_set_suspended(opened, true, pool_));
  EXPECT_TRUE(Info("new").is_suspended);
  svn::Check(ormu_set_suspended(opened, false, pool_));
  EXPECT_FALSE(Info("new").is_suspended);
  EXPECT_EQ(Code(ormu_convert_to_ormu(Path("new").c_str(), pool_)), ORMU_ERR_WRONG_ROLE);

  MakeBoth();
  const std::string before = Dump("slave");
  svn::Check(ormu_convert_to_fsfs(Path("slave").c_str(), pool_));
  EXPECT_FALSE(Info("slave").is_ormu);
  EXPECT_EQ(Dump("slave"), before);
  ExpectOpen("slave");
  EXPECT_EQ(Code(ormu_convert_to_fsfs(Path("slave").c_str(), pool_)), ORMU_ERR_WRONG_ROLE);
  EXPECT_EQ(Code(ormu_set_suspended(svn::OpenRepository(svn::PathFromDirent(Path("slave")), pool_),
                                    true, pool_)),
            ORMU_ERR_WRONG_ROLE);
  svn::Check(ormu_convert_to_ormu(Path("slave").c_str(), pool_));
  EXPECT_TRUE(Info("slave").is_master);
}

svn_error_t* Stop(void*) { return svn_error_create(SVN_ERR_CANCELLED, nullptr, "stopped"); }

TEST_F(SlaveRolesTest, SeedsAndImportedMastersAreWholeCopiesOrNothing) {
  MakeBoth();
  WriteFile(Path("master/conf/Kelvarion-WinAuthz.ini"), "w");
  WriteFile(Path("master/conf/Kelvarion-SvnAuthz.ini"), "s");
  WriteFile(Path("master/conf/Kelvarion-Delegation.ini"), "d");
  WriteFile(Path("master/conf/Kelvarion-Replication.ini"), "r");
  WriteFile(Path("master/hooks/pre-commit.cmd"), "#!/bin/sh\nexit 1\n");
  Run({"svn", "lock", Url("master") + "/trunk/a"});
  const auto spawn = [&](ormu_cancel_func_t cancel) {
    return ormu_spawn_slave(Path("seed").c_str(), "msrpc://host.test:8/master%20x",
                            Path("master").c_str(), cancel, nullptr, pool_);
  };
  EXPECT_EQ(Code(spawn(nullptr)), ORMU_ERR_WRONG_ROLE);
  svn::Check(ormu_convert_to_ormu(Path("master").c_str(), pool_));
  EXPECT_EQ(Text(spawn(Stop)), "stopped");
  for (const auto& entry : fs::directory_iterator(folder_.native()))
    EXPECT_THAT(entry.path().filename().string(), ::testing::Not(HasSubstr("seed")));
  svn::Check(spawn(nullptr));
  EXPECT_STREQ(Info("seed").master_server, "host.test:8");
  EXPECT_STREQ(Info("seed").master_repository, "master x");
  EXPECT_FALSE(fs::exists(Path("seed/conf/Kelvarion-WinAuthz.ini")));
  EXPECT_FALSE(fs::exists(Path("seed/conf/Kelvarion-Replication.ini")));
  EXPECT_TRUE(fs::exists(Path("seed/conf/Kelvarion-SvnAuthz.ini")));
  EXPECT_EQ(Run({"svnadmin", "lslocks", Path("seed")}), "");
  ExpectClosed("seed", "commit to the master: master x on host.test:8");
  Change("master", {"mkdir", "later"});
  Sync("master", "seed");
  EXPECT_EQ(Dump("master"), Dump("seed"));
  EXPECT_EQ(Code(spawn(nullptr)), APR_EEXIST);

  const auto import = [&](const char* name, bool settings, ormu_cancel_func_t cancel) {
    return ormu_import_master(Path(name).c_str(), Path("seed").c_str(), settings, settings,
                              settings, cancel, nullptr, pool_);
  };
  EXPECT_EQ(Text(import("cancelled", true, Stop)), "stopped");
  EXPECT_FALSE(fs::exists(Path("cancelled")));
  svn::Check(import("all", true, nullptr));
  svn::Check(import("bare", false, nullptr));
  for (const char* name : {"all", "bare"}) {
    EXPECT_TRUE(Info(name).is_master);
    const bool all = std::string(name) == "all";
    const std::string path = Path(name);
    EXPECT_EQ(fs::exists(path + "/conf/Kelvarion-SvnAuthz.ini"), all);
    EXPECT_EQ(fs::exists(path + "/hooks/pre-commit.cmd"), all);
    ExpectOpen(name);
  }
}

TEST_F(SlaveRolesTest, TheConsistencyCheckNamesWhatDiffers) {
  MakeBoth();
  std::int64_t until = 3;
  const auto check = [&] {
    return FailureOf([&] {
      MasterSession session = Connect("master");
      CheckConsistency(session, Path("slave"), until);
    });
  };
  EXPECT_EQ(check().text, "");
  const auto as_master = [&](const std::function<void()>& change) {
    TurnIntoMaster(Path("slave"), pool_);
    change();
    TurnIntoSlave(Path("slave"), "master.test", "master", pool_);
  };
  const struct {
    const char* what;
    std::function<void()> change;
    std::int64_t until;
    const char* text;
  } rows[] = {
      {"revision property",
       [&] {
         as_master([&] {
           Run({"svnadmin", "setrevprop", Path("slave"), "-r2", "svn:log", Path("file")});
         });
       },
       3, "In revision 2 the revision property 'svn:log' differs"},
      {"contents", [&] { MakeSlaveWithOtherContents(); }, 1,
       "In revision 1 the contents of '/trunk/a' differ"},
      {"a flipped byte", [&] { FlipByte("slave/db/revs/0/2"); }, 3,
       "Revision 2 of the slave is damaged"},
      {"a missing revision", [&] { fs::remove(Path("slave/db/revs/0/2")); }, 3,
       "No such revision 2"},
      {"the last one missing",
       [&] {
         Change("master", {"mkdir", "later"});
       },
       4, "The slave has no revision 4"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    fs::remove_all(Path("slave"));
    MakeSlave("master", "slave");
    Sync("master", "slave");
    row.change();
    until = row.until;
    const Failure failure = check();
    EXPECT_EQ(failure.code, ORMU_ERR_INCONSISTENT);
    EXPECT_THAT(failure.text, HasSubstr(row.text));
  }
}

}  // namespace
}  // namespace kelvarion::ormu
