// The repositories' files as several Unix accounts use them: the web server's workers, root and the
// administrators, each under a umask that would shut all others out.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <optional>

#include "tests/support/real_server.h"

namespace kelvarion::testing {
namespace {

namespace fs = std::filesystem;

// An account as processes have it.
struct Unix {
  std::string user;
  std::string group;
};

const Unix kRoot{"root", "root"};
const Unix kWorker{"www-data", "www-data"};
const Unix kAdmin{"daemon", "nogroup"};
const Unix kOfAdminGroup{"nobody", "games"};
const Unix kOtherAdmin{"bin", "nogroup"};
const Unix kStranger{"nobody", "nogroup"};

class SharedFilesFlowTest : public ::testing::Test {
 protected:
  void SetRoot(const std::string& folder) {
    srv_ = folder;
    const Reply reply = server_->CallService(
        "SetRepositoriesRoot",
        {"RepositoriesRoot=" + srv_, "ForceCreate=true", "AdjustPermissions=true"});
    EXPECT_TRUE(reply.ok()) << reply.message();
  }
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "Only root can become other accounts.";
    usual_ = umask(077);
    server_.emplace();
    SetRoot(server_->folder + "/srv");
    SetAdmins({"S-1-22-1-1", "S-1-22-2-60"});  // daemon, and the group games
    server_->CreateUser("alice", "secret");
    Create("demo");
    server_->Start();
  }
  void TearDown() override {
    if (!server_) return;
    server_.reset();
    umask(usual_);
  }

  void SetAdmins(const std::vector<std::string>& sids) const {
    const Reply reply =
        server_->CallService("SetServerAdmins", {"Admins:=" + RealServer::Accounts(sids)});
    EXPECT_TRUE(reply.ok()) << reply.message();
  }
  void Create(const std::string& repository) const {
    EXPECT_TRUE(server_->Call("Kelvarion_Repository", "Create", {"Name=" + repository}).ok());
    EXPECT_TRUE(server_->Ctl(RealServer::SetRules(repository, "/", {{"alice", 2}})).ok());
  }

  ProcessResult As(const Unix& account, const std::vector<std::string>& program) const {
    std::vector<std::string> words = {"setpriv", "--reuid",     account.user,
                                      "--regid", account.group, "--clear-groups",
                                      "env",     "-C",          "/"};
    words.insert(words.end(), program.begin(), program.end());
    return RunProcess(words);
  }
  // What the account is told when it commits a file of its own; empty when all went well.
  std::string Commit(const Unix& account, const std::string& repository) {
    const std::string name = account.user + "-" + std::to_string(++commits_);
    // The same text twice, so that the second commit finds it in the cache of the first one.
    const std::string file = server_->folder + "/" + name;
    WriteText(file, std::string(3000, 'x') + std::to_string(commits_ / 2));
    fs::permissions(file, fs::perms(0644));
    return As(account, {"svn", "import", "-q", "-m", "", "--config-dir", file + "-config", file,
                        "file://" + srv_ + "/" + repository + "/" + name})
        .all();
  }
  std::string CommitOverHttp(const std::string& repository) {
    return server_
        ->Svn(
            "alice", "secret",
            {"mkdir", "-q", "-m", "", server_->Url(repository) + "/" + std::to_string(++commits_)})
        .all();
  }
  std::string Svnadmin(const Unix& account, std::vector<std::string> words) const {
    words.insert(words.begin(), "svnadmin");
    return As(account, words).all();
  }

  mode_t usual_ = 0;
  std::optional<RealServer> server_;
  std::string srv_;
  int commits_ = 0;
};

TEST_F(SharedFilesFlowTest, WorkersAndAdministratorsWriteWhatAnyOfThemMade) {
  const std::string message = server_->folder + "/message";
  WriteText(message, "better");
  fs::permissions(message, fs::perms(0644));
  for (int round = 0; round < 2; ++round) {
    for (const Unix& account : {kRoot, kAdmin, kWorker, kOfAdminGroup}) {
      EXPECT_EQ(Commit(account, "demo"), "") << account.user;
      EXPECT_EQ(CommitOverHttp("demo"), "") << "after " << account.user;
      EXPECT_EQ(Svnadmin(account, {"setlog", "--bypass-hooks", "-r", "1", srv_ + "/demo", message}),
                "")
          << account.user;
    }
  }
  EXPECT_EQ(Svnadmin(kOfAdminGroup, {"verify", "-q", srv_ + "/demo"}), "");
  EXPECT_EQ(As(kAdmin, {"svnlook", "youngest", srv_ + "/demo"}).all(),
            std::to_string(commits_) + "\n");
  EXPECT_NE(Commit(kStranger, "demo"), "");
  EXPECT_NE(As(kStranger, {"ls", srv_}).exit_code, 0);
  for (const auto& entry : fs::recursive_directory_iterator(srv_))
    EXPECT_EQ(entry.status().permissions() & fs::perms::others_all, fs::perms::none)
        << entry.path();
}

TEST_F(SharedFilesFlowTest, ItDoesNotMatterWhoMadeTheRepository) {
  for (const Unix& maker : {kRoot, kWorker, kAdmin, kOfAdminGroup}) {
    const std::string name = "by-" + maker.user;
    EXPECT_EQ(As(maker, {"svnadmin", "create", srv_ + "/" + name}).all(), "");
    EXPECT_TRUE(server_->Ctl(RealServer::SetRules(name, "/", {{"alice", 2}})).ok());
    for (const Unix& account : {kAdmin, kOfAdminGroup, kWorker, kRoot}) {
      EXPECT_EQ(Commit(account, name), "") << name;
      EXPECT_EQ(CommitOverHttp(name), "") << name << " after " << account.user;
    }
  }
}

TEST_F(SharedFilesFlowTest, WhoIsAnAdministratorNowCountsForFilesOldAndNew) {
  EXPECT_EQ(Commit(kAdmin, "demo"), "");
  EXPECT_NE(Commit(kOtherAdmin, "demo"), "");
  SetAdmins({"S-1-22-1-2"});  // bin
  Create("later");
  for (const char* repository : {"demo", "later"}) {
    EXPECT_EQ(CommitOverHttp(repository), "");
    EXPECT_EQ(Commit(kOtherAdmin, repository), "") << repository;
    EXPECT_EQ(CommitOverHttp(repository), "");
    EXPECT_EQ(Commit(kWorker, repository), "") << repository;
    for (const Unix& former : {kAdmin, kOfAdminGroup}) {
      EXPECT_NE(Commit(former, repository), "") << repository;
      EXPECT_NE(As(former, {"cat", srv_ + "/" + repository + "/db/current"}).exit_code, 0);
    }
  }
}

TEST_F(SharedFilesFlowTest, SettingTheRootAgainOpensUpWhatWasPutThere) {
  const std::string elsewhere = server_->folder + "/private";
  EXPECT_EQ(RunProcess({"svnadmin", "create", elsewhere}).all(), "");
  EXPECT_EQ(RunProcess({"mv", elsewhere, srv_ + "/moved"}).all(), "");
  EXPECT_NE(Commit(kAdmin, "moved"), "");
  SetRoot(srv_);
  EXPECT_EQ(Commit(kAdmin, "moved"), "");
  EXPECT_EQ(Commit(kWorker, "moved"), "");

  // A copy of the root with all attributes is a root like any other.
  EXPECT_EQ(RunProcess({"cp", "-a", srv_, server_->folder + "/copy"}).all(), "");
  SetRoot(server_->folder + "/copy");
  SetAdmins({"S-1-22-1-2"});
  EXPECT_EQ(Commit(kOtherAdmin, "demo"), "");
  EXPECT_NE(Commit(kAdmin, "demo"), "");
}

}  // namespace
}  // namespace kelvarion::testing
