// What svn can do with rules for accounts of the machine, and ways around them that must not exist.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/support/account_rules_server.h"

namespace kelvarion::testing {
namespace {

using ::testing::AnyOf;
using ::testing::HasSubstr;
using ::testing::Not;

const AccountRulesServer::Accounts kAccounts = {{"alice", {"S-1-22-1-1001", "S-1-22-2-100"}},
                                                {"bob", {"S-1-22-1-1002", "S-1-22-2-100"}},
                                                {"carol", {"S-1-22-1-1003"}}};
const char* const kAlice = "S-1-22-1-1001";
const char* const kBob = "S-1-22-1-1002";
const char* const kCarol = "S-1-22-1-1003";
const char* const kTeam = "S-1-22-2-100";

// The team (alice, bob) reads all but /trunk/secret; bob writes /trunk, but not /trunk/mixed/keep.
const RuleTexts kRules = {{"/", {{kTeam, "r"}}},
                          {"/trunk", {{kBob, "rw"}}},
                          {"/trunk/mixed/keep", {{kBob, "r"}}},
                          {"/trunk/secret", {{kTeam, ""}}}};

class AccountOperationsFlowTest : public ::testing::Test {
 protected:
  explicit AccountOperationsFlowTest(const std::string& directives = {})
      : accounts(kAccounts, directives) {
    accounts.server.Start();
    Admin({"mkdir", "-m", "Make folders", "--parents", Url("/trunk/secret"),
           Url("/trunk/mixed/keep"), Url("/trunk/plain/below"), Url("/trunk/open")});
    Admin({"import", "-m", "Add plans", Text("classified\n"), Url("/trunk/secret/plans")});
    Admin({"import", "-m", "Add words", Text("words\n"), Url("/trunk/open/words")});
    Admin({"copy", "-m", "Publish", Url("/trunk/secret/plans"), Url("/trunk/open/plans")});
    accounts.SetRules(kRules);
  }

  void Admin(const std::vector<std::string>& words) const {
    const ProcessResult done = accounts.Svn("admin", words);
    EXPECT_EQ(done.exit_code, 0) << done.all();
  }
  std::string Text(const std::string& text) const {
    WriteText(accounts.server.folder + "/text", text);
    return accounts.server.folder + "/text";
  }
  std::string Url(const std::string& path) const { return accounts.server.Url("demo") + path; }

  AccountRulesServer accounts;
};

// With each of the two protocols that svn speaks; the directive ends the newer one.
class AccountProtocolFlowTest : public AccountOperationsFlowTest,
                                public ::testing::WithParamInterface<const char*> {
 protected:
  AccountProtocolFlowTest() : AccountOperationsFlowTest(GetParam()) {}
};

INSTANTIATE_TEST_SUITE_P(
    Protocols, AccountProtocolFlowTest,
    ::testing::Values("", "<Location /svn/>\n  SVNAdvertiseV2Protocol off\n</Location>\n"));

TEST_P(AccountProtocolFlowTest, SvnDoesWhatTheRulesAllow) {
  WriteText(accounts.server.root + "/demo/hooks/pre-revprop-change", "#!/bin/sh\n");
  chmod((accounts.server.root + "/demo/hooks/pre-revprop-change").c_str(), 0755);
  const struct {
    const char* user;
    std::vector<std::string> words;  // What begins with "/" is a path in the repository.
    const char* outcome;
  } rows[] = {
      {"bob", {"mkdir", "-m", "m", "/trunk/new"}, "allowed"},
      {"bob", {"mkdir", "-m", "m", "/new"}, "403"},
      {"alice", {"mkdir", "-m", "m", "/trunk/new too"}, "403"},
      {"bob", {"copy", "-m", "m", "/trunk/open", "/trunk/copy"}, "allowed"},
      {"bob", {"copy", "-m", "m", "/trunk/secret/plans", "/trunk/stolen"}, "403"},
      {"bob", {"copy", "-m", "m", "/trunk", "/trunk/all of it"}, "403"},
      {"bob", {"copy", "-m", "m", "/trunk/open", "/trunk/mixed/keep/copy"}, "403"},
      {"bob", {"copy", "-m", "m", "/trunk/open", "/branch"}, "403"},
      {"bob", {"move", "-m", "m", "/trunk/plain", "/trunk/moved"}, "allowed"},
      {"bob", {"move", "-m", "m", "/trunk/mixed", "/trunk/moved too"}, "403"},
      {"bob", {"move", "-m", "m", "/trunk/secret", "/trunk/open/secret"}, "403"},
      {"bob", {"rm", "-m", "m", "/trunk/mixed"}, "403"},
      {"bob", {"rm", "-m", "m", "/trunk/mixed/keep"}, "403"},
      {"bob", {"rm", "-m", "m", "/trunk/moved"}, "allowed"},
      {"bob", {"lock", "/trunk/open/words"}, "allowed"},
      {"alice", {"unlock", "--force", "/trunk/open/words"}, "403"},
      {"bob", {"unlock", "/trunk/open/words"}, "allowed"},
      {"alice", {"lock", "/trunk/open/words"}, "403"},
      {"bob", {"propset", "--revprop", "-r3", "note", "n", "/"}, "allowed"},
      {"alice", {"propset", "--revprop", "-r3", "note", "n", "/"}, "403"},
      {"alice", {"propget", "--revprop", "-r3", "note", "/"}, "allowed"},
      {"carol", {"propget", "--revprop", "-r3", "note", "/"}, "403"},
      {"alice", {"cat", "/trunk/open/plans"}, "allowed"},
      {"alice", {"cat", "/trunk/secret/plans@2"}, "403"},
      {"alice", {"log", "/trunk/secret"}, "403"},
      {"alice", {"blame", "/trunk/secret/plans"}, "403"},
      {"carol", {"ls", "/"}, "403"},
      {"carol", {"info", "/"}, "403"},
  };
  for (const auto& row : rows) {
    std::vector<std::string> words = row.words;
    for (std::string& word : words)
      if (word.starts_with('/')) word = Url(word);
    EXPECT_EQ(Outcome(accounts.Svn(row.user, words)), row.outcome)
        << row.user << " " << ::testing::PrintToString(row.words);
  }
}

TEST_F(AccountOperationsFlowTest, HistoryTellsNothingOfWhatCannotBeRead) {
  const std::string log = accounts.Svn("alice", {"log", "-v", Url("/")}).all();
  EXPECT_THAT(log, HasSubstr("Add words"));
  EXPECT_THAT(log, Not(HasSubstr("Add plans")));
  EXPECT_THAT(log, Not(HasSubstr("secret")));
  const std::string of_copy = accounts.Svn("alice", {"log", Url("/trunk/open/plans")}).all();
  EXPECT_THAT(of_copy, Not(HasSubstr("Add plans")));
  EXPECT_THAT(accounts.Svn("alice", {"ls", "-R", Url("/")}).all(), Not(HasSubstr("secret")));
  EXPECT_THAT(accounts.Svn("alice", {"diff", "-c2", Url("/")}).all(), Not(HasSubstr("classified")));
  EXPECT_THAT(accounts.Svn("admin", {"log", "-v", Url("/")}).all(), HasSubstr("Add plans"));
}

TEST_F(AccountOperationsFlowTest, NoSpellingOfAnAddressLeadsAroundTheRules) {
  const char* const spellings[] = {
      "/svn/demo/trunk/secret/plans",
      "/svn/demo/trunk/secret/plans/",
      "/svn//demo//trunk///secret//plans",
      "/svn/demo/trunk/./secret/plans",
      "/svn/demo/trunk/open/../secret/plans",
      "/svn/demo/trunk/open/%2e%2e/secret/plans",
      "/svn/demo/trunk/open/%2E./secret/plans",
      "/svn/demo/trunk/%73ecret/plans",
      "/svn/demo/trunk%2fsecret/plans",
      "/svn/demo/trunk/open/..%2fsecret/plans",
      "/svn/demo/trunk/open%5c..%5csecret/plans",
      "/svn/demo/trunk/secret%00/plans",
      "/svn/other/../demo/trunk/secret/plans",
      "/svn/demo/../demo/trunk/secret/plans",
      "/svn/../svn/demo/trunk/secret/plans",
      "/svn/./demo/trunk/secret/plans?p=2",
      "/svn/demo/trunk/open/plans?p=2",
      "/svn/demo/!svn/bc/2/trunk/secret/plans",
      "/svn/demo/!svn/rvr/2/trunk/secret/plans",
      "/svn/demo/!svn/rvr/2//trunk/./secret/plans",
      "/svn/demo/!svn/rvr/2/trunk/open/../secret/plans",
      "/svn/demo/!svn/ver/2/trunk/secret/plans",
      "/svn/demo/%21svn/bc/2/trunk/secret/plans",
      "/svn/demo/!svn/bc/2/trunk/open/..//secret/plans",
      "/svn/Demo/trunk/secret/plans",
      "/SVN/demo/trunk/secret/plans",
      "/svn/demo/trunk/SECRET/plans",
      "/svn/demo/conf/Kelvarion-WinAuthz.ini",
      "/svn/../repositories/demo/db/revs/0/2",
      "/svn/demo/../htpasswd",
      "/!/../svn/demo/trunk/secret/plans",
  };
  std::vector<HttpRequest> requests;
  for (const char* spelling : spellings)
    for (const char* method : {"GET", "PROPFIND", "COPY"})
      requests.push_back({method,
                          accounts.server.base() + spelling,
                          {"Depth: 1", "Destination: " + Url("/trunk/stolen")}});
  std::string answers;
  const std::vector<int> statuses = accounts.Send("bob", requests, &answers);
  for (std::size_t i = 0; i < requests.size(); ++i)
    EXPECT_THAT(statuses[i], AnyOf(400, 403, 404, 405)) << requests[i].method << requests[i].url;
  EXPECT_THAT(answers, Not(HasSubstr("classified")));
  EXPECT_THAT(answers, Not(HasSubstr("<D:multistatus")));
}

// In a transaction, as svn commits, where a copy would take place.
TEST_F(AccountOperationsFlowTest, NoSpellingOfADestinationLeadsAroundTheRules) {
  std::string answer;
  accounts.Send(
      "bob",
      {{"POST", Url("/!svn/me"), {"Content-Type: application/vnd.svn-skel"}, "( create-txn )"}},
      &answer);
  const std::string header = "SVN-Txn-Name: ";
  const std::size_t name = answer.find(header) + header.size();
  const std::string transaction = answer.substr(name, answer.find('\r', name) - name);
  const struct {
    const char* what;
    std::string destination;  // Below the transaction, unless it is a whole address.
    int status;
  } rows[] = {
      {"writable", "/trunk/open/copy", 201},
      {"read only", "/trunk/mixed/keep/copy", 403},
      {"outside", "/copy", 403},
      {"back out", "/trunk/open/../mixed/keep/copy", 403},
      {"back out, encoded", "/trunk/open/%2e%2e/mixed/keep/copy", 403},
      {"doubled slashes", "//trunk//mixed//keep//copy", 403},
      {"encoded letters", "/trunk/mixed/%6beep/copy", 403},
      {"onto what holds a read only part", "/trunk/mixed", 403},
      {"another repository", accounts.server.Url("other/trunk/copy"), 403},
      {"the list of repositories", accounts.server.Url(), 403},
      {"elsewhere on this server", accounts.server.base() + "/!/copy", 400},
      {"another server", "http://example.invalid/svn/demo/trunk/copy", 400},
  };
  for (const auto& row : rows) {
    const std::string destination = row.destination.starts_with('/')
                                        ? Url("/!svn/txr/" + transaction + row.destination)
                                        : row.destination;
    const int status =
        accounts
            .Send("bob", {{"COPY",
                           Url("/!svn/rvr/3/trunk/open/words"),
                           {"Depth: 0", "Overwrite: T", "Destination: " + destination}}})
            .front();
    if (row.status == 400)
      EXPECT_GE(status, 400) << row.what;
    else
      EXPECT_EQ(status, row.status) << row.what;
  }
}

TEST_F(AccountOperationsFlowTest, DenialsNameAccountPathAndRule) {
  accounts.Status("alice", Url("/trunk/secret/plans"));
  accounts.Send("bob", {{"DELETE", Url("/trunk/mixed")}});
  accounts.Status("carol", Url("/trunk"));
  const std::string log = accounts.ErrorLog();
  EXPECT_THAT(log, HasSubstr("access denied: 'alice' GET demo:/trunk/secret/plans, rule "
                             "[/trunk/secret] S-1-22-2-100="));
  EXPECT_THAT(log, HasSubstr("access denied: 'bob' DELETE demo:/trunk/mixed, rule "
                             "[/trunk/mixed/keep] S-1-22-1-1002=r"));
  EXPECT_THAT(log, HasSubstr("access denied: 'carol' GET demo:/trunk, no rule"));
  // A list that leaves something out is no event.
  accounts.Status("carol", accounts.server.Url());
  EXPECT_EQ(accounts.ErrorLog(), log);
}

}  // namespace
}  // namespace kelvarion::testing
