// Who can read what in a home that is used, for both ways a server runs: by root, whose workers are
// www-data, and by an ordinary user.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "tests/support/real_server.h"
#include "tests/support/test_home.h"

namespace kelvarion::testing {
namespace {

namespace fs = std::filesystem;
using Words = std::vector<std::string>;

Words AsUser(const std::string& user) {
  return {"setpriv", "--reuid=" + user, "--regid=" + user, "--clear-groups"};
}

// The umask of whoever runs the programs must not matter.
Words WithUmask(Words words, const char* umask) {
  words.insert(words.end(), {"sh", "-c", std::string("umask ") + umask + "; exec \"$@\"", "sh"});
  return words;
}

void Use(RealServer& server) {
  server.CreateUser("alice", "secret");
  server.CreateGroup("group", {"alice"});
  ASSERT_TRUE(server.Call("Kelvarion_Repository", "Create", {"Name=demo"}).ok());
  ASSERT_TRUE(server.Ctl(RealServer::SetRules("demo", "/", {{"@group", 2}})).ok());
  ASSERT_TRUE(server
                  .CallService("SetLoggingOptions",
                               {"EnableAccessLogging=true", "EnableOperationalLogging=true"})
                  .ok());
  server.Start();
  // Written once more under the server, and by it.
  ASSERT_TRUE(server.Call("Kelvarion_User.Name=\"alice\"", "SetPassword", {"Password=new"}).ok());
  for (const char* folder : {"demo/a", "demo/b"}) {
    const ProcessResult made =
        server.Svn("alice", "new", {"mkdir", "-m", "New", server.Url(folder)});
    EXPECT_EQ(made.exit_code, 0) << made.all();
  }
  EXPECT_NE(server.Call("Kelvarion_Repository", "Delete", {"Name=none"}).process.exit_code, 0);
}

void ExpectModes(const RealServer& server) {
  const struct {
    const char* path;
    mode_t mode;
  } rows[] = {{"", 0711},
              {"registry.db", 0600},
              {"events", 0700},
              {"server/certs", 0700},
              {"server/certs/server.pem", 0600},
              {"server/conf", 0700},
              {"server/conf/httpd.conf", 0600},
              {"server/logs", 0750}};
  for (const auto& row : rows) {
    struct stat found {};
    EXPECT_EQ(stat(server.File(row.path).c_str(), &found), 0) << row.path;
    EXPECT_EQ(found.st_mode & 07777, row.mode) << row.path << std::oct << found.st_mode;
  }
}

// The files of the home that the account can read, relative to it.
std::vector<std::string> Readable(const RealServer& server, const std::string& user) {
  Words words = AsUser(user);
  words.insert(words.end(), {"sh", "-c", "for f; do [ -r \"$f\" ] && echo \"$f\"; done", "sh"});
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(server.home))
    if (entry.is_regular_file() && !entry.is_symlink()) words.push_back(entry.path());
  std::vector<std::string> readable;
  std::istringstream lines(RunProcess(words).out);
  for (std::string line; std::getline(lines, line);)
    readable.push_back(line.substr(server.home.size() + 1));
  return readable;
}

void ExpectPrivate(const RealServer& server, const std::string& stranger) {
  for (const std::string& file : Readable(server, stranger))
    EXPECT_TRUE(file.starts_with("server/htdocs/") || file.starts_with("server/WebUI/") ||
                file == "server/run/KelvarionServer.pid")
        << file;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(server.home)) {
    if (entry.is_symlink()) continue;
    EXPECT_EQ(entry.status().permissions() & fs::perms::others_write, fs::perms::none) << entry;
  }
}

class ModesFlowTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "Only root can look with the eyes of other accounts.";
  }
};

TEST_F(ModesFlowTest, RootsServerKeepsItsSecretsFromAllButItsWorkers) {
  for (const char* umask : {"000", "077"}) {
    SCOPED_TRACE(umask);
    RealServer server({WithUmask({}, umask), {}, {}});
    Use(server);
    ExpectModes(server);
    ExpectPrivate(server, "nobody");
    bool users = false;
    for (const std::string& file : Readable(server, "www-data")) {
      users = users || file == "repositories/htpasswd";
      for (const char* secret : {"registry", "server/certs/", "server/conf/", "events", "groups."})
        EXPECT_FALSE(file.starts_with(secret)) << file;
    }
    EXPECT_TRUE(users) << "the workers cannot check passwords";
  }
}

TEST_F(ModesFlowTest, AnOrdinaryUsersServerKeepsItsSecretsToThatUser) {
  const TemporaryFolder build;
  const std::string programs = CopyOfTheBuild(build.native());
  Words runner = {"setpriv", "--reuid=nobody", "--regid=nogroup", "--clear-groups"};
  RealServer server({WithUmask(runner, "000"), "nobody:nogroup", programs});
  Use(server);
  ExpectModes(server);
  ExpectPrivate(server, "www-data");
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(server.home)) {
    struct stat found {};
    EXPECT_EQ(lstat(entry.path().c_str(), &found), 0);
    EXPECT_EQ(found.st_uid, 65534U) << entry;
  }
  server.Stop();
}

}  // namespace
}  // namespace kelvarion::testing
