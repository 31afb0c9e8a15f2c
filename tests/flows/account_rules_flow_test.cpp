// Rules for accounts of the machine: what they come to by what decides about them, and what the
// real Apache and svn make of them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <set>

#include "rules/rules.h"
#include "tests/support/account_rules_server.h"

namespace kelvarion::testing {
namespace {

namespace fs = std::filesystem;
using rules::Level;

const AccountRulesServer::Accounts kAccounts = {
    {"alice", {"S-1-22-1-1001", "S-1-22-2-100", "S-1-22-2-200"}},
    {"bob", {"S-1-22-1-1002", "S-1-22-2-100"}},
    {"carol", {"S-1-22-1-1003"}},
    {"ghost", {}},  // Known, but by nothing that a rule could name.
};
const std::vector<std::string> kKeys = {"S-1-22-1-1001", "S-1-22-1-1002", "s-1-022-1-01003",
                                        "S-1-22-2-100",  "S-1-22-2-200",  "*"};
const std::vector<std::string> kFolders = {
    "/trunk",   "/trunk/a", "/trunk/a/deep", "/trunk/b c", "/trunk/b c/dé",
    "/trunk-2", "/Trunk",   "/tags",         "/tags/1",    "/tags/1/a"};

std::string InUrl(const std::string& path) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string url;
  for (const char c : path) {
    const auto byte = static_cast<unsigned char>(c);
    url += c != ' ' && byte < 0x80 ? std::string{c}
                                   : std::string{'%', kDigits[byte >> 4], kDigits[byte & 15]};
  }
  return url;
}

std::vector<std::string> SidsOf(const std::string& user) {
  std::vector<std::string> sids = kAccounts.at(user);
  sids.emplace_back("*");
  return sids;
}

// Rules as texts for the server and as a set that decides.
struct Side {
  RuleTexts texts;
  rules::RuleSet set;
  void Add(const std::string& section, const std::string& key, const std::string& value) {
    if (texts[section].emplace(key, value).second) set.Add(section, key, value);
  }
};

class AccountRulesFlowTest : public ::testing::Test {
 protected:
  AccountRulesFlowTest() : accounts(kAccounts), random_(4711) {
    accounts.server.Start();
    std::vector<std::string> words = {"mkdir", "-m", "Folders"};
    for (const std::string& folder : kFolders) words.push_back(Url(folder));
    const ProcessResult made = accounts.Svn("admin", words);
    EXPECT_EQ(made.exit_code, 0) << made.all();
  }

  std::string Url(const std::string& path) const {
    return accounts.server.Url("demo") + InUrl(path);
  }

  void UseRandomRules() {
    repository = {};
    global = {};
    const char* const values[] = {"", "r", "rw"};
    for (int i = 0; i < 12; ++i)
      repository.Add(Any() % 5 ? Pick(kFolders) : "/", Pick(kKeys), values[Any() % 3]);
    for (int i = 0; i < 2; ++i) global.Add("global", Pick(kKeys), values[1 + Any() % 2]);
    global.set.Add("global", "S-1-22-1-1", "rw");
    accounts.SetRules(repository.texts);
    accounts.SetGlobalRules(global.texts);
  }

  bool May(const std::string& user, Level level, const std::string& path, bool tree) const {
    const auto decide = tree ? rules::DecideTree : rules::Decide;
    return decide(&repository.set, &global.set, path, SidsOf(user)).level >= level;
  }
  bool MayAnywhere(const std::string& user, Level level) const {
    return rules::DecideAnywhere(&repository.set, &global.set, SidsOf(user)).level >= level;
  }

  unsigned Any() { return static_cast<unsigned>(random_()); }
  const std::string& Pick(const std::vector<std::string>& from) {
    return from[Any() % from.size()];
  }

  AccountRulesServer accounts;
  Side repository;
  Side global;

 private:
  std::mt19937 random_;
};

// One request and for whom the rules allow it.
struct Probe {
  HttpRequest request;
  std::function<bool(const std::string& user)> allowed;
};

class RandomRules : public AccountRulesFlowTest {
 protected:
  void AddAt(const std::string& path) {
    const struct {
      const char* method;
      Level level;
      bool tree;
    } rows[] = {{"GET", Level::kRead, false},       {"HEAD", Level::kRead, false},
                {"OPTIONS", Level::kRead, false},   {"PROPFIND", Level::kRead, false},
                {"REPORT", Level::kRead, false},    {"PUT", Level::kWrite, false},
                {"MKCOL", Level::kWrite, false},    {"PROPPATCH", Level::kWrite, false},
                {"LOCK", Level::kWrite, false},     {"UNLOCK", Level::kWrite, false},
                {"CHECKOUT", Level::kWrite, false}, {"DELETE", Level::kWrite, true},
                {"POST", Level::kWrite, true},      {"VERSION-CONTROL", Level::kWrite, true}};
    for (const auto& row : rows)
      probes.push_back({{row.method, Url(path), {"Depth: 0"}}, [=, this](const std::string& user) {
                          return May(user, row.level, path, row.tree);
                        }});
    for (const char* at : {"/!svn/rvr/1", "/!svn/bc/1"})
      for (const auto& [method, level] :
           {std::pair{"PROPFIND", Level::kRead}, {"PUT", Level::kWrite}})
        probes.push_back({{method, Url(at + path), {"Depth: 0"}},
                          [=, this, wanted = level](const std::string& user) {
                            return May(user, wanted, path, false);
                          }});
  }

  void AddTransfer(const std::string& method, const std::string& from, const std::string& to) {
    // Nothing can be copied into itself, whatever the rules.
    if ((to + "/").starts_with(from + "/")) return;
    const Level level = method == "COPY" ? Level::kRead : Level::kWrite;
    probes.push_back({{method, Url(from), {"Destination: " + Url(to + "/new")}},
                      [=, this](const std::string& user) {
                        return May(user, level, from, true) &&
                               May(user, Level::kWrite, to + "/new", true);
                      }});
  }

  void AddWholeRepository() {
    const struct {
      const char* method;
      const char* path;
      Level level;
    } rows[] = {{"OPTIONS", "/!svn/me", Level::kRead},       {"REPORT", "/!svn/me", Level::kRead},
                {"PROPFIND", "/!svn/rev/1", Level::kRead},   {"POST", "/!svn/me", Level::kWrite},
                {"PROPPATCH", "/!svn/rev/1", Level::kWrite}, {"MERGE", "/trunk", Level::kWrite},
                {"MKACTIVITY", "/!svn/act/x", Level::kWrite}};
    for (const auto& row : rows)
      probes.push_back(
          {{row.method, Url(row.path), {"Depth: 0"}},
           [=, this](const std::string& user) { return MayAnywhere(user, row.level); }});
  }

  void FillProbes() {
    AddWholeRepository();
    AddAt("/");
    for (const std::string& folder : kFolders) AddAt(folder);
    AddAt("/trunk/a/deep/not yet there");
    for (int i = 0; i < 15; ++i) {
      AddTransfer("COPY", Pick(kFolders), Pick(kFolders));
      AddTransfer("MOVE", Pick(kFolders), Pick(kFolders));
    }
    for (const Probe& probe : probes) requests.push_back(probe.request);
  }

  void CheckStatuses(const std::string& user, const std::vector<int>& unrestricted) {
    const std::vector<int> statuses = accounts.Send(user, requests);
    for (std::size_t i = 0; i < probes.size(); ++i) {
      int expected = probes[i].allowed(user) ? unrestricted[i] : 403;
      // The folder to be moved out of is looked at as well, though not by these rules alone.
      if (expected != 403 && statuses[i] == 424 && requests[i].method == "MOVE") expected = 424;
      EXPECT_EQ(statuses[i], expected)
          << user << " " << requests[i].method << " " << requests[i].url
          << ::testing::PrintToString(requests[i].headers);
    }
  }

  // Working copies leave out what cannot be read, with all that is below.
  void CheckWorkingCopy(const std::string& user) {
    const std::string copy = accounts.server.folder + "/copy of " + user;
    std::set<std::string> expected;
    std::set<std::string> found;
    const bool root = May(user, Level::kRead, "/", false);
    for (const std::string& folder : kFolders) {  // Parents come first.
      const std::string parent = fs::path(folder).parent_path();
      if (root && (parent == "/" || expected.contains(parent)) &&
          May(user, Level::kRead, folder, false))
        expected.insert(folder);
    }
    const ProcessResult result = accounts.Svn(user, {"checkout", Url(""), copy});
    EXPECT_EQ(Outcome(result), root ? "allowed" : "403") << user;
    fs::create_directories(copy);
    for (fs::recursive_directory_iterator it(copy), end; it != end; ++it) {
      if (it->path().filename() == ".svn")
        it.disable_recursion_pending();
      else
        found.insert(it->path().string().substr(copy.size()));
    }
    EXPECT_EQ(found, expected) << user;
    fs::remove_all(copy);
  }

  void CheckLists(const std::string& user) {
    std::string page;
    accounts.Status(user, accounts.server.Url(), &page);
    EXPECT_EQ(page.find("href=\"demo/\"") != page.npos, May(user, Level::kRead, "/", false))
        << user;
    if (accounts.Status(user, Url("/trunk/"), &page) != 200) return;
    EXPECT_EQ(page.find("href=\"a/\"") != page.npos, May(user, Level::kRead, "/trunk/a", false))
        << user;
  }

  std::vector<Probe> probes;
  std::vector<HttpRequest> requests;
};

TEST_F(RandomRules, AllowExactlyWhatTheyDecide) {
  FillProbes();
  accounts.Send("admin", requests);  // What can be made only once is made.
  const std::vector<int> unrestricted = accounts.Send("admin", requests);
  ASSERT_THAT(unrestricted, ::testing::Each(::testing::AllOf(::testing::Gt(0), ::testing::Ne(401),
                                                             ::testing::Ne(403))));
  for (int round = 0; round < 6; ++round) {
    SCOPED_TRACE(round);
    UseRandomRules();
    for (const auto& [user, sids] : kAccounts) {
      CheckStatuses(user, unrestricted);
      CheckWorkingCopy(user);
      CheckLists(user);
    }
    if (HasFailure()) return;
  }
}

}  // namespace
}  // namespace kelvarion::testing
