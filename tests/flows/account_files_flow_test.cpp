// The files with rules for accounts of the machine while the server runs: missing, broken,
// changing; and who else may have a say.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>

#include "tests/support/account_rules_server.h"

namespace kelvarion::testing {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using ::testing::Not;
using namespace std::string_literals;

const AccountRulesServer::Accounts kAccounts = {{"alice", {"S-1-22-1-1001"}},
                                                {"bob", {"S-1-22-1-1002"}}};
const char* const kAlice = "S-1-22-1-1001";
const char* const kBob = "S-1-22-1-1002";

std::ptrdiff_t CountOf(const std::string& text, const std::string& part) {
  std::ptrdiff_t count = 0;
  for (std::size_t at = 0; (at = text.find(part, at)) != text.npos; at += part.size()) ++count;
  return count;
}

class AccountFilesFlowTest : public ::testing::Test {
 protected:
  explicit AccountFilesFlowTest(const std::string& directives = {})
      : accounts(kAccounts, directives) {}

  int Status(const std::string& user, const std::string& path = "demo/") const {
    return accounts.Status(user, accounts.server.Url(path));
  }

  AccountRulesServer accounts;
};

TEST_F(AccountFilesFlowTest, ChangesCountForTheNextRequest) {
  accounts.server.Start();
  for (int i = 0; i < 50; ++i) {
    const bool even = i % 2 == 0;  // Two files of one size.
    accounts.SetRules({{"/", {{even ? kAlice : kBob, "r"}}}});
    EXPECT_EQ(Status("alice"), even ? 200 : 403) << i;
    EXPECT_EQ(Status("bob"), even ? 403 : 200) << i;
  }
  fs::remove(accounts.RulesFile());
  EXPECT_EQ(Status("bob"), 403);
  accounts.SetGlobalRules({{"global", {{kBob, "r"}}}});
  EXPECT_EQ(Status("bob"), 200) << "Without a file of the repository the global rules count";
  EXPECT_EQ(Status("bob", "none/"), 404);
  EXPECT_EQ(Status("alice", "none/"), 403);
  fs::remove(accounts.GlobalRulesFile());
  EXPECT_EQ(Status("bob"), 403);
  EXPECT_EQ(Status("admin"), 403);
  accounts.SetRules({{"/", {{kBob, "r"}}}});
  EXPECT_EQ(Status("bob"), 200);
}

TEST_F(AccountFilesFlowTest, AFileThatCannotBeUsedDeniesEverythingAndSaysWhyOnce) {
  accounts.server.Start();
  const std::string file = accounts.RulesFile();
  const struct {
    const char* what;
    std::string text;
    const char* reason;
  } rows[] = {
      {"no file of this kind", "[/]\nS-1-22-1-1001\n", "Option must end with ':' or '='"},
      {"no section", "S-1-22-1-1001=rw\n", "Section header expected"},
      {"slash at the end", "[/]\nS-1-22-1-1001=rw\n[/trunk/]\nS-1-22-1-1001=\n",
       "the path [/trunk/] is not canonical"},
      {"no name", "[/]\nS-1-22-1-1001=rw\n=r\n", "line 3: Option has no name"},
      {"NUL", "[/]\nS-1-22-1-1001=r\0w\n"s, "line 2: Option contains a NUL"},
  };
  for (const auto& row : rows) {
    WriteText(file, row.text);
    for (const char* user : {"alice", "admin", "alice", "admin"})
      EXPECT_EQ(Status(user), 403) << row.what;
    const std::string log = accounts.ErrorLog();
    EXPECT_THAT(log, HasSubstr("cannot be used and denies everything to everybody: " + file));
    EXPECT_THAT(log, HasSubstr(row.reason));
    const std::ptrdiff_t times = CountOf(log, row.reason);
    EXPECT_EQ(Status("alice"), 403);
    EXPECT_LE(CountOf(accounts.ErrorLog(), row.reason), std::max<std::ptrdiff_t>(times, 4))
        << "once for each process of the server";
  }
  accounts.SetRules({{"/", {{kAlice, "r"}, {"bob", "r"}}}});
  EXPECT_EQ(Status("alice"), 200);
  EXPECT_EQ(Status("bob"), 403);
  EXPECT_THAT(accounts.ErrorLog(), HasSubstr("'bob' in [/] is neither a SID nor *"));
  chmod(file.c_str(), 0);  // Also takes what the access list grants.
  EXPECT_EQ(Status("alice"), 403);
  chmod(file.c_str(), 0660);
  EXPECT_EQ(Status("alice"), 200) << "what can be read again counts again";
  fs::remove(file);
  fs::create_directory(file);
  EXPECT_EQ(Status("admin"), 403);
}

// Every answer is right while the file is replaced and many threads ask for it.
TEST_F(AccountFilesFlowTest, ReadersNeverSeeHalfOfTheRules) {
  accounts.server.Start();
  RuleTexts rules = {{"/", {{kAlice, "r"}}}};
  for (int i = 0; i < 300; ++i)
    for (int k = 0; k < 10; ++k)
      rules["/folder " + std::to_string(i)]["S-1-22-1-" + std::to_string(5000 + k)] = "rw";
  accounts.SetRules(rules);
  ChildProcess load({"ab", "-q", "-c", "16", "-t", "5", "-n", "1000000", "-A", "alice:alice",
                     accounts.server.Url("demo/")});
  for (int i = 0; i < 300; ++i) {
    rules["/changing"] = {{"S-1-22-1-" + std::to_string(i), "rw"}};
    accounts.SetRules(rules);
  }
  const std::string report = load.Wait().all();
  EXPECT_THAT(report, HasSubstr("Complete requests:"));
  EXPECT_THAT(report, HasSubstr("Failed requests:        0"));
  EXPECT_THAT(report, Not(HasSubstr("Non-2xx responses")));
}

class AccountRequireFlowTest : public AccountFilesFlowTest {
 protected:
  AccountRequireFlowTest()
      : AccountFilesFlowTest(R"(
<Location /svn/demo>
  Require user alice
</Location>
<Location /svn/shared>
  AuthzKelvarionAuthoritative off
  Require user alice
</Location>
<Location /svn/open>
  Require all granted
</Location>
)") {
    for (const char* name : {"shared", "open"})
      EXPECT_TRUE(
          accounts.server.Call("Kelvarion_Repository", "Create", {std::string("Name=") + name})
              .ok());
    accounts.server.Start();
  }
};

TEST_F(AccountRequireFlowTest, RequireLinesHoldOnTopOfTheRulesUnlessTheyAreNotAuthoritative) {
  accounts.SetRules({{"/", {{"*", "r"}}}});
  EXPECT_EQ(Status("alice", "demo/"), 200);
  EXPECT_EQ(Status("bob", "demo/"), 401);
  accounts.SetRules({{"/", {{kBob, "r"}}}});
  EXPECT_EQ(Status("alice", "demo/"), 403);

  accounts.SetRules({{"/", {{kBob, "r"}}}}, "shared");
  EXPECT_EQ(Status("alice", "shared/"), 200);
  EXPECT_EQ(Status("bob", "shared/"), 200);

  accounts.SetRules({{"/", {{"*", "rw"}}}}, "open");
  EXPECT_EQ(Status("nobody", "open/"), 401);
  EXPECT_EQ(Status("bob", "open/"), 200);
  const ProcessResult anonymous = RunProcess(
      {"curl", "-s", "-o", "/dev/null", "-w", "%{http_code}", accounts.server.Url("open/")});
  EXPECT_EQ(anonymous.out, "401") << "Rules for everybody are for every account";
}

TEST_F(AccountFilesFlowTest, RepositoriesAtTheRootOfTheSite) {
  ASSERT_TRUE(
      accounts.server.CallService("SetRepositoriesURLPrefix", {"RepositoriesURLPrefix="}).ok());
  ASSERT_TRUE(accounts.server.Call("Kelvarion_Repository", "Create", {"Name=hidden"}).ok());
  accounts.SetRules({{"/", {{kAlice, "r"}}}});
  accounts.server.Start();
  const std::string base = accounts.server.base();
  std::string page;
  EXPECT_EQ(accounts.Status("alice", base + "/", &page), 200);
  EXPECT_THAT(page, HasSubstr("\"demo/\""));
  EXPECT_THAT(page, Not(HasSubstr("hidden")));
  EXPECT_EQ(accounts.Status("alice", base + "/demo/"), 200);
  EXPECT_EQ(accounts.Status("alice", base + "/hidden/"), 403);
  EXPECT_EQ(accounts.Status("bob", base + "/demo/"), 403);
  EXPECT_EQ(accounts.Status("bob", base + "/!/"), 200) << "Pages are for every account";
  EXPECT_EQ(accounts.Status("nobody", base + "/!/"), 401);
}

}  // namespace
}  // namespace kelvarion::testing
