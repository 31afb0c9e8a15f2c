// Names that would leave the repositories root or break a file are refused, wherever they come in.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>

#include "tests/support/real_server.h"

namespace kelvarion::testing {
namespace {

namespace fs = std::filesystem;

constexpr std::uint32_t kInvalidParameter = 0x8004102F;
constexpr std::uint32_t kInvalidPath = 0x8004103A;
constexpr std::uint32_t kNotFound = 0x80041002;

class NamesFlowTest : public ::testing::Test {
 protected:
  NamesFlowTest() {
    server.CreateUser("bob", "secret");
    server.CreateGroup("group", {"bob"});
    EXPECT_TRUE(server.Call("Kelvarion_Repository", "Create", {"Name=demo"}).ok());
    EXPECT_TRUE(server.Ctl(RealServer::SetRules("demo", "/", {{"bob", 1}})).ok());
    // A real repository outside the root, where a name with a separator would find it.
    EXPECT_EQ(RunProcess({"svnadmin", "create", server.File("canary")}).exit_code, 0);
    EXPECT_EQ(RunProcess({"svnadmin", "create", server.folder + "/canary"}).exit_code, 0);
    before = Snapshot();
  }

  // Every file and folder with its content, but for what any request may write.
  std::map<std::string, std::string> Snapshot() const {
    std::map<std::string, std::string> files;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(server.folder)) {
      const std::string path = entry.path().lexically_relative(server.home);
      if (path.starts_with("events") || path.starts_with("registry")) continue;
      files[path] = entry.is_regular_file() ? ReadText(entry.path()) : "";
    }
    return files;
  }

  void ExpectNothingTouched(const std::string& by) {
    const auto after = Snapshot();
    for (const auto& [path, content] : before)
      EXPECT_TRUE(after.contains(path) && after.at(path) == content) << by << " changed " << path;
    for (const auto& [path, content] : after)
      EXPECT_TRUE(before.contains(path)) << by << " made " << path;
  }

  void ExpectRefused(const Reply& reply, const std::string& by,
                     std::uint32_t status = kInvalidParameter) const {
    EXPECT_EQ(reply.status(), status) << by << ": " << reply.process.all();
    EXPECT_EQ(reply.process.exit_code, 1) << by;
    EXPECT_FALSE(reply.message().empty()) << by;
  }

  static std::string InPath(const std::string& class_name, const std::string& name) {
    std::string quoted;
    for (const char c : name)
      quoted += c == '"' || c == '\\' ? std::string{'\\', c} : std::string{c};
    return class_name + ".Name=\"" + quoted + "\"";
  }

  RealServer server;
  std::map<std::string, std::string> before;
};

TEST_F(NamesFlowTest, RepositoryNamesStayInTheRoot) {
  // The unit tests of names have them all.
  const std::string names[] = {
      "..",  "../canary",         "..\\canary", "/tmp",     "demo/conf",          "a\nb",
      "CON", "demo/../../canary", " demo",      "htpasswd", std::string(256, 'x')};
  for (const std::string& name : names) {
    const auto call = [&](const char* method, const std::vector<std::string>& parameters) {
      ExpectRefused(server.Call("Kelvarion_Repository", method, parameters),
                    std::string(method) + " of '" + name + "'");
    };
    call("Delete", {"Name=" + name});
    call("Rename", {"OldName=" + name, "NewName=new"});
    call("Rename", {"OldName=demo", "NewName=" + name});
    call("Create", {"Name=" + name});
  }
  for (const char* method : {"Create", "Delete"})
    EXPECT_NE(server.Call("Kelvarion_Repository", method, {"Name="}).process.exit_code, 0);
  ExpectNothingTouched("a refused repository name");
}

TEST_F(NamesFlowTest, ObjectPathsDoNotLeadOutOfTheRoot) {
  for (const std::string name : {"..", "../canary", "..\\canary", "demo/../../canary", "a\nb"}) {
    const std::string path = InPath("Kelvarion_Repository", name);
    EXPECT_EQ(server.Ctl({"get", path}).status(), kNotFound) << name;
    std::vector<std::string> set = RealServer::SetRules("demo", "/", {{"bob", 2}});
    set[1] = path;
    const Reply reply = server.Ctl(set);
    EXPECT_TRUE(reply.status() == kNotFound || reply.status() == kInvalidParameter)
        << name << ": " << reply.process.all();
    EXPECT_NE(server.Call(path, "GetSecurity", {"Path=/"}).process.exit_code, 0) << name;
  }
  for (const char* blank : {"", "  "}) {
    const std::string path = InPath("Kelvarion_Repository", blank);
    ExpectRefused(server.Call(path, "GetSecurity", {"Path=/"}), "a blank name", kInvalidPath);
  }
  ExpectNothingTouched("an object path");
}

TEST_F(NamesFlowTest, AccountNamesCannotChangeTheMeaningOfTheFiles) {
  const std::string names[] = {"", "*", "~bob", "@x", "a:b", "a,b", "[groups]", "%(x)s", "a\r\nb"};
  for (const std::string& name : names) {
    const auto user = [&](const char* method, const std::vector<std::string>& parameters) {
      return server.Call("Kelvarion_User", method, parameters);
    };
    ExpectRefused(user("Create", {"Name=" + name, "Password=x"}), "user '" + name + "'");
    EXPECT_NE(user("Delete", {"Name=" + name}).process.exit_code, 0) << name;
    ExpectRefused(server.Call("Kelvarion_Group", "Create", {"Name=" + name, "Members:=[]"}),
                  "group '" + name + "'");
    for (const char* class_name : {"Kelvarion_User", "Kelvarion_Group"}) {
      const Json members = {InPath(class_name, name)};
      const std::string what = std::string(class_name) + " '" + name + "'";
      EXPECT_NE(
          server
              .Call("Kelvarion_Group.Name=\"group\"", "SetMembers", {"Members:=" + members.dump()})
              .process.exit_code,
          0)
          << what;
      const Json entries = {{{"__CLASS", "Kelvarion_PermissionEntry"},
                             {"Account", {{"__CLASS", class_name}, {"Name", name}}},
                             {"AccessLevel", 2}}};
      ExpectRefused(
          server.Call("Kelvarion_Repository.Name=\"demo\"", "SetSecurity",
                      {"Path=/", "Permissions:=" + entries.dump(), "ResetChildren=false"}),
          what);
    }
  }
  ExpectRefused(
      server.Call("Kelvarion_User", "Create", {"Name=" + std::string(181, 'x'), "Password=x"}),
      "a long name");
  for (const std::string password : {"", "a\nb"})
    ExpectRefused(server.Call("Kelvarion_User", "Create", {"Name=new", "Password=" + password}),
                  "the password '" + password + "'");
  ExpectNothingTouched("a refused account name");
}

TEST_F(NamesFlowTest, RulePathsCannotBreakTheRulesFile) {
  const std::pair<std::string, std::uint32_t> rows[] = {{"", kInvalidPath},
                                                        {"trunk", kInvalidParameter},
                                                        {"/a]b", kInvalidParameter},
                                                        {"/a/../b", kInvalidParameter},
                                                        {"/a\r\n[/]\r\n*=rw", kInvalidParameter},
                                                        {"demo:/", kInvalidParameter}};
  for (const auto& [path, status] : rows)
    ExpectRefused(server.Ctl(RealServer::SetRules("demo", path, {{"bob", 2}})),
                  "the path '" + path + "'", status);
  ExpectNothingTouched("a refused path");
}

// What is strange, yet harmless, works: refusing it would only hide the faults above.
TEST_F(NamesFlowTest, HarmlessStrangeNamesWork) {
  for (const std::string name :
       {"Bücher, mehr", "a%20b", "[x]", "$HOME", "-rf", "日本語", "a'b;c"}) {
    EXPECT_TRUE(server.Call("Kelvarion_Repository", "Create", {"Name=" + name}).ok()) << name;
    EXPECT_TRUE(server.Ctl(RealServer::SetRules(name, "/a [b & c", {{"bob", 2}})).ok()) << name;
    EXPECT_TRUE(
        server.Call("Kelvarion_Repository", "Rename", {"OldName=" + name, "NewName=" + name + "2"})
            .ok())
        << name;
    EXPECT_TRUE(server.Call("Kelvarion_Repository", "Delete", {"Name=" + name + "2"}).ok()) << name;
  }
  ExpectNothingTouched("strange names");
}

}  // namespace
}  // namespace kelvarion::testing
