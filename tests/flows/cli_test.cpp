// The contract of kelvarionctl: what it prints, where, and how it exits.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <sstream>

#include "tests/support/real_server.h"
#include "tests/support/test_home.h"

namespace kelvarion::testing {
namespace {

namespace fs = std::filesystem;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

using Words = std::vector<std::string>;

const std::string kProgram = KELVARION_BUILD_DIR "/bin/kelvarionctl";
const std::string kService = "Kelvarion_Service.Name=\"KelvarionServer\"";

// One home for all tests, its server never started.
class CliTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { server_ = std::make_unique<RealServer>(); }
  static void TearDownTestSuite() { server_.reset(); }

  static ProcessResult Text(const Words& words) { return server_->Text(words); }

  static std::unique_ptr<RealServer> server_;
};
std::unique_ptr<RealServer> CliTest::server_;

TEST_F(CliTest, AccessIsExplainedAndACheckExitsByWhatItFinds) {
  RealServer server;
  server.CreateUser("alice", "secret");
  server.CreateGroup("devs", {"alice"});
  ASSERT_TRUE(server.Call("Kelvarion_Repository", "Create", {"Name=demo"}).ok());
  ASSERT_TRUE(server.Ctl(RealServer::SetRules("demo", "/", {{"@devs", 2}})).ok());
  const auto text = [&](Words words) {
    words.insert(words.begin(), "access");
    return server.Text(words);
  };
  EXPECT_EQ(text({"check"}).out, "Everything is in order.\n");
  EXPECT_THAT(text({"explain", "DEMO", "/trunk"}).out,
              HasSubstr("alice   read and write [/] @devs, line 12 @devs\n"));
  EXPECT_THAT(text({"explain", "demo", "/", "--account", "alice"}).out,
              AllOf(HasSubstr("alice: read and write\n"), HasSubstr("SvnAuthz.ini:12\n")));
  EXPECT_EQ(text({"explain", "none", "/"}).exit_code, 1);
  const std::string key = "Kelvarion_EffectiveAccess.RepositoryName=\"demo\",Path=\"/\",Account=";
  EXPECT_EQ(server.Ctl({"get", key + "\"alice\""}).object()["RuleKey"], "@devs");
  EXPECT_EQ(server.Ctl({"enumerate", "Kelvarion_EffectiveAccess"}).status(), 0x8004100Cu);

  ASSERT_TRUE(server.Ctl(RealServer::SetRules("demo", "/", {{"nobody", 2}})).ok());
  const Reply warned = server.Ctl({"access", "check"});
  EXPECT_EQ(warned.process.exit_code, 0);
  EXPECT_EQ(warned.object()["Kind"], "UnknownUser");
  const std::string finding = "Kelvarion_AccessFinding.Kind=\"UnknownUser\",Subject=\"nobody\"";
  EXPECT_EQ(
      server.Ctl({"get", finding + ",Line=12,File=\"" + server.RulesFile("demo") + "\""}).object(),
      warned.object());
  WriteFile(server.RulesFile("demo"), "[/]\n@none=r\n");
  EXPECT_EQ(text({"check"}).exit_code, 1);
  EXPECT_THAT(text({"check"}).out, HasSubstr("SvnAuthz.ini:2: error: "));
  EXPECT_THAT(text({"explain", "demo", "/", "--account", "alice"}).out, HasSubstr("no access"));
}

TEST_F(CliTest, RefusalsSayWhatWasWrongAndExitWithOne) {
  const struct {
    Words words;
    std::uint32_t status;
    const char* says;
  } rows[] = {
      {{"enumerate", "Kelvarion_Nothing"}, 0x80041001, "Unexpected class 'Kelvarion_Nothing'"},
      {{"get", "Kelvarion_User.Name="}, 0x8004103A, "'Kelvarion_User.Name='"},
      {{"get", "Kelvarion_User.Name=\"nobody\""}, 0x80041002, "0x80041002"},
      {{"put", "Kelvarion_User", "Mail=x"}, 0x8004102F, "no property 'Mail'; it has: Name"},
      {{"call", "no path at all", "Create"}, 0x8004103A, "no path at all"},
      {{"call", "Kelvarion_User", "Create", "User=x"},
       0x8004102F,
       "Kelvarion_User.Create has no parameter 'User'; it has: Name, Password"},
      {{"call", kService, "StartService", "Now=true"}, 0x8004102F, "it has: none"},
      {{"call", kService, "SetNetworkOptions", "Port=many"}, 0x8004102F, "'Port'"},
      {{"call", "Kelvarion_User", "Create", "Name:=["}, 0x8004102F, "'Name' is not valid JSON"},
      {{"--context", "A:={}", "enumerate", "Kelvarion_User"}, 0x8004102F, "context value 'A'"},
      {{"describe", "Kelvarion_Nothing"}, 0x80041001, "Unexpected class"},
      {{"settings", "get", "Nothing"}, 0x8004102F, "There is no setting 'Nothing'"},
      {{"settings", "set", "ServerPort", "0"}, 0x8004102F, "a port from 1 to 65535"},
  };
  for (const auto& row : rows) {
    const std::string what = ::testing::PrintToString(row.words);
    const Reply reply = server_->Ctl(row.words);
    EXPECT_EQ(reply.process.exit_code, 1) << what;
    EXPECT_EQ(reply.status(), row.status) << what;
    EXPECT_EQ(reply.document["error"]["StatusCode"], row.status) << what;
    EXPECT_THAT(reply.message(), HasSubstr(row.says)) << what;
    EXPECT_THAT(reply.process.err, Not(HasSubstr("kelvarionctl:"))) << what;

    const ProcessResult text = Text(row.words);
    EXPECT_EQ(text.exit_code, 1) << what;
    EXPECT_THAT(text.out, IsEmpty()) << what;
    EXPECT_THAT(text.err, HasSubstr(row.says)) << what;
  }
  EXPECT_THAT(Text({"call", "Kelvarion_User", "Create", "Name=x"}).err,
              HasSubstr("left out: Password"));
  EXPECT_THAT(Text({"invent", "something"}).err, HasSubstr("'invent'"));
}

TEST_F(CliTest, WrongUsageExitsWithTwoAndAsksNobody) {
  const std::string events = server_->Events();
  const Words rows[] = {
      {},
      {"get"},
      {"call", "Kelvarion_User"},
      {"call", "Kelvarion_User", "Create", "Name"},
      {"call", "Kelvarion_User", "Create", "Name=a", "name=b"},
      {"call", "Kelvarion_User", "Create", "Name=\xFF"},
      {"--context", "A", "enumerate", "Kelvarion_User"},
      {"init", "--port", "70000"},
      {"init", "--listen", "not an address"},
      {"settings", "set", "ServerPort"},
      {"events", "--since", "yesterday"},
      {"events", "--follow", "--type", "info"},
  };
  for (const Words& words : rows) {
    const std::string what = ::testing::PrintToString(words);
    const Reply reply = server_->Ctl(words);
    EXPECT_EQ(reply.process.exit_code, 2) << what;
    EXPECT_NE(reply.status(), 0u) << what;
    const ProcessResult text = Text(words);
    EXPECT_EQ(text.exit_code, 2) << what;
    EXPECT_THAT(text.out, IsEmpty()) << what;
    EXPECT_THAT(text.err, Not(IsEmpty())) << what;
  }
  EXPECT_EQ(server_->Events(), events);
}

TEST_F(CliTest, WithoutAHomeOnlyTheClassesAreThere) {
  const std::string nowhere = server_->folder + "/nowhere";
  for (const Words& words : {Words{"enumerate", "Kelvarion_User"}, Words{"events"},
                             Words{"settings"}, Words{"get", "Kelvarion_VersionInfo=@"}}) {
    Words all{kProgram, "--home", nowhere};
    all.insert(all.end(), words.begin(), words.end());
    const ProcessResult result = RunProcess(all);
    EXPECT_EQ(result.exit_code, 2) << words.front();
    EXPECT_THAT(result.err, HasSubstr("init")) << words.front();
  }
  const ProcessResult classes = RunProcess({kProgram, "--home", nowhere, "classes"});
  EXPECT_EQ(classes.exit_code, 0);
  EXPECT_THAT(classes.out, AllOf(HasSubstr("Kelvarion_Repository"), HasSubstr("PS_SvnRepository")));
  const ProcessResult user =
      RunProcess({kProgram, "--home", nowhere, "describe", "kelvarion_user"});
  EXPECT_EQ(user.exit_code, 0);
  EXPECT_THAT(user.out, HasSubstr("void Create(In string Name, In string Password)"));
  EXPECT_FALSE(fs::exists(nowhere));
}

TEST_F(CliTest, DescriptionsAreCompleteInJson) {
  const Reply reply = server_->Ctl({"describe", "Kelvarion_Repository"});
  ASSERT_TRUE(reply.ok());
  const Json& description = reply.object();
  EXPECT_EQ(description["Properties"][0]["Name"], "Name");
  EXPECT_EQ(description["Properties"][0]["Key"], true);
  EXPECT_EQ(description["Properties"][3]["Values"]["1"], "OrmuMaster");
  const auto hook = std::ranges::find(description["Methods"], Json("GetHook"),
                                      [](const Json& method) { return method["Name"]; });
  ASSERT_NE(hook, description["Methods"].end());
  EXPECT_EQ((*hook)["Static"], false);
  EXPECT_EQ((*hook)["In"][0]["Type"], "uint32");
  EXPECT_EQ((*hook)["Out"][0]["Name"], "Hook");
  EXPECT_EQ((*hook)["ReturnValue"]["Type"], "boolean");
}

TEST_F(CliTest, EveryRequestIsOneDocumentWithItsObjects) {
  const Reply created = server_->Call("kelvarion_repository", "create", {"name=cli"});
  EXPECT_TRUE(created.ok()) << created.message();
  EXPECT_EQ(created.document, Json::parse(R"({"status":0,"statusText":"0x00000000","objects":[],
                                              "warnings":[],"progress":[],"error":null})"));
  const Reply list = server_->Ctl({"enumerate", "Kelvarion_Repository"});
  EXPECT_EQ(list.names(), Words{"cli"});
  EXPECT_EQ(list.object()["__CLASS"], "Kelvarion_Repository");
  EXPECT_EQ(list.object()["MasterServer"], nullptr);
  EXPECT_EQ(server_->Ctl({"get", "Kelvarion_Repository.Name=\"CLI\""}).object(), list.object());

  // Success with a status of its own.
  const Reply nobody = server_->Call("Kelvarion_Activity", "Cancel", {"Id=nobody"});
  EXPECT_EQ(nobody.process.exit_code, 0);
  EXPECT_EQ(nobody.status(), 1u);
}

TEST_F(CliTest, SettingsKeepTheirTypesAndReachTheConfiguration) {
  const Reply list = server_->Ctl({"settings"});
  EXPECT_EQ(list.document["objects"].size(), 24u);
  EXPECT_EQ(list.document, server_->Ctl({"settings", "list"}).document);
  const Reply set = server_->Ctl({"settings", "set", "httpsvncachesize", "77"});
  EXPECT_TRUE(set.ok()) << set.message();
  EXPECT_EQ(set.object()["Value"], 77);
  EXPECT_EQ(set.object()["Type"], "REG_DWORD");
  EXPECT_EQ(Text({"settings", "get", "HttpSvnCacheSize"}).out, "77\n");
  const std::string configuration = server_->File("server/conf/httpd.conf");
  EXPECT_THAT(ReadText(configuration), HasSubstr("SVNInMemoryCacheSize 78848"));
  EXPECT_TRUE(server_->Ctl({"settings", "set", "ServerBindings", "127.0.0.1,::1"}).ok());
  EXPECT_THAT(Text({"settings"}).out, HasSubstr("127.0.0.1,::1"));
  EXPECT_TRUE(server_->Ctl({"settings", "set", "ServerName", ""}).ok());
}

TEST_F(CliTest, EventsTellWhoFailedAndFollowingEndsWithAnInterrupt) {
  server_->Ctl({"get", "Kelvarion_User.Name=\"missing-one\""});
  const Json all = server_->Ctl({"events"}).document["objects"];
  ASSERT_FALSE(all.empty());
  EXPECT_EQ(all.back()["Id"], "0xC00007D0");
  EXPECT_EQ(all.back()["Type"], "error");
  EXPECT_THAT(Text({"events"}).out, HasSubstr("0xC00007D0"));
  server_->Ctl({"enumerate", "Kelvarion_Filtered"});
  const struct {
    Words filter;
    bool shown;
  } filters[] = {
      {{"events", "--type", "error", "--source", "SERVER 3.5", "--since", "1h"}, true},
      {{"events", "--type", "warning"}, false},
      {{"events", "--source", "management"}, false},
      {{"events", "--since", "2999-01-01"}, false},
  };
  for (const auto& [filter, shown] : filters) {
    const std::string found = server_->Ctl(filter).document["objects"].dump();
    EXPECT_EQ(found.find("Kelvarion_Filtered") != std::string::npos, shown) << filter.back();
  }

  const std::string out = server_->folder + "/followed";
  const ProcessResult followed =
      RunProcess({"sh", "-c",
                  "\"$1\" --home \"$2\" --json events --follow --type error >\"$3\" & pid=$!\n"
                  "\"$1\" --home \"$2\" enumerate Kelvarion_Followed 2>/dev/null\n"
                  "n=0; until grep -q Kelvarion_Followed \"$3\"; do\n"
                  "  n=$((n + 1)); [ $n -lt 300 ] || break; sleep 0.1; done\n"
                  "kill -INT $pid; wait $pid",
                  "sh", kProgram, server_->home, out});
  EXPECT_EQ(followed.exit_code, 0) << followed.err;
  std::istringstream lines(ReadText(out));
  Json last;
  for (std::string line; std::getline(lines, line);) last = Json::parse(line);
  EXPECT_THAT(last["Message"].get<std::string>(),
              HasSubstr("Unexpected class 'Kelvarion_Followed'"));
}

TEST_F(CliTest, ClassesAreFoundWhereTheRegistrationSaysAlone) {
  const auto scopes = [&](const Words& words) {
    std::string found;
    const Json objects = server_->Ctl(words).document["objects"];
    for (const Json& object : objects) found += object["For"].get<std::string>() + " ";
    return found;
  };
  const Words get = {"--in-process", "get", "Kelvarion_VersionInfo=@"};
  EXPECT_EQ(scopes({"registration"}), "machine machine ");
  EXPECT_EQ(scopes({"registration", "install", "--user"}), "user machine user machine ");
  EXPECT_EQ(scopes({"registration", "remove"}), "user user ");
  EXPECT_TRUE(server_->Ctl(get).ok());
  EXPECT_EQ(scopes({"registration", "remove", "--user"}), "");
  EXPECT_THAT(server_->Ctl(get).message(), HasSubstr("not registered"));
  EXPECT_EQ(scopes({"registration", "install"}), "machine machine ");
  EXPECT_TRUE(server_->Ctl(get).ok());
}

// The files of a home, their contents and modes. The registry's journal comes and goes.
std::map<std::string, std::string> Snapshot(const std::string& home) {
  std::map<std::string, std::string> files;
  for (const auto& entry : fs::recursive_directory_iterator(home)) {
    const std::string path = entry.path();
    if (path.find(".db") != std::string::npos) continue;
    struct stat status {};
    lstat(path.c_str(), &status);
    files[path] = std::to_string(status.st_mode) + " " + std::to_string(status.st_mtim.tv_nsec) +
                  (entry.is_regular_file() ? ReadText(path) : "");
  }
  return files;
}

TEST(InitTest, RunningItAgainChangesNothingAndSaysSo) {
  const RealServer server;
  WriteText(server.File("server/conf/httpd-custom.conf"), "# mine\n");
  WriteText(server.root + "/htpasswd", "alice:x\r\n");
  const auto before = Snapshot(server.home);
  const Json settings = server.Ctl({"settings"}).document;
  const Reply again = server.Ctl({"init", "--port", "1234", "--repositories-root", "/elsewhere"});
  EXPECT_TRUE(again.ok()) << again.message();
  EXPECT_THAT(again.warnings(),
              AllOf(HasSubstr("ServerPort stays"), HasSubstr("RepositoriesRoot stays")));
  EXPECT_EQ(Snapshot(server.home), before);
  EXPECT_EQ(server.Ctl({"settings"}).document, settings);
}

TEST(InitTest, WhatIsMissingIsMadeAgain) {
  const RealServer server;
  const Words files{"server/certs/certchain.pem", "server/conf/httpd.conf",
                    "server/conf/mime.types",     "server/WebUI/index.html",
                    "repositories/groups.conf",   "server/bin/mod_dav.so"};
  std::map<std::string, std::string> before;
  for (const std::string& file : files) {
    before[file] = ReadText(server.File(file));
    fs::remove(server.File(file));
  }
  const std::string certificate = ReadText(server.File("server/certs/server.pem"));
  EXPECT_TRUE(server.Ctl({"init"}).ok());
  for (const std::string& file : files)
    EXPECT_EQ(ReadText(server.File(file)), before[file]) << file;
  EXPECT_EQ(ReadText(server.File("server/certs/server.pem")), certificate);
}

// The web server's account has to get to the repositories, not into the home.
TEST(InitTest, FoldersAboveARootElsewhereAreAsOpenAsTheUserMakesThem) {
  const TemporaryFolder folder;
  const fs::path home = fs::path(folder.native()) / "home";
  const fs::path root = fs::path(folder.native()) / "deep/er/repositories";
  const ProcessResult init = RunProcess({"sh", "-c", "umask 022; exec \"$@\"", "sh", kProgram,
                                         "--home", home, "init", "--repositories-root", root});
  ASSERT_EQ(init.exit_code, 0) << init.err;
  EXPECT_EQ(fs::status(root.parent_path()).permissions(), static_cast<fs::perms>(0755));
  EXPECT_EQ(fs::status(root.parent_path().parent_path()).permissions(),
            static_cast<fs::perms>(0755));
  EXPECT_EQ(fs::status(root).permissions() & fs::perms::others_all, fs::perms::none);
}

TEST(InitTest, AFolderWithOtherThingsIsLeftAlone) {
  const RealServer reference;
  const std::string other = reference.folder + "/other";
  fs::create_directory(other);
  WriteText(other + "/thesis.txt", "mine");
  EXPECT_EQ(RunProcess({kProgram, "--home", other, "init"}).exit_code, 2);
  EXPECT_EQ(std::distance(fs::directory_iterator(other), fs::directory_iterator()), 1);
}

TEST_F(CliTest, BashCompletesWhatTheManualDescribes) {
  const struct {
    const char* typed;
    const char* completions;
  } rows[] = {
      {"acc", "access"},
      {"access a", "add"},
      {"--json access add --f", "--force"},
      {"settings ", "list get set"},
      {"settings get --ho", "--home"},
      {"classes ", ""},
  };
  const std::string manual = Text({"manual"}).out;
  for (const auto& row : rows) {
    SCOPED_TRACE(row.typed);
    const std::string script = "source <(" + kProgram + " completion); typed='" + row.typed +
                               "'; " + "COMP_WORDS=(kelvarionctl $typed); " +
                               "[ \"${typed% }\" = \"$typed\" ] || COMP_WORDS+=(''); " +
                               "COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _kelvarionctl; " +
                               "echo -n \"${COMPREPLY[*]}\"";
    const ProcessResult result = RunProcess({"bash", "-c", script});
    EXPECT_EQ(result.out, row.completions);
    EXPECT_EQ(result.err, "");
    std::istringstream words(result.out);
    for (std::string word; words >> word;)
      EXPECT_THAT(manual, HasSubstr(word.starts_with('-') ? "\\-\\-" + word.substr(2) : word));
  }
}

}  // namespace
}  // namespace kelvarion::testing
