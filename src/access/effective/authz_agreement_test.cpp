// Our decisions against those of Subversion itself.

#include <gtest/gtest.h>
#include <svn_io.h>
#include <svn_pools.h>
#include <svn_repos.h>

#include <algorithm>
#include <random>

#include "access/effective/authz_rules.h"
#include "svn/error.h"
#include "svn/pool.h"
#include "tests/support/process.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/test_home.h"

namespace kelvarion::access {
namespace {

using Words = std::vector<std::string>;

// The same sequence on every machine, which the distributions of the library do not promise.
class Dice {
 public:
  explicit Dice(unsigned seed) : engine_(seed) {}
  unsigned Below(unsigned count) { return static_cast<unsigned>(engine_() % count); }
  bool OneIn(unsigned count) { return Below(count) == 0; }
  std::string Of(const Words& words) { return words[Below(static_cast<unsigned>(words.size()))]; }

 private:
  std::mt19937 engine_;
};

const Words kUsers{"alice", "Alice", "bob", "carol", "dave", "Björk", "@g1", "*", "stranger"};
const Words kGroups{"g0", "g1", "g2", "g3", "g4", "g5"};
const Words kPaths{"/", "/a", "/a/b", "/a/b/c", "/a/b/c/d", "/a/x", "/b", "/b/a.c", "/ab", "/A"};

enum class Flavour { kPlain, kWildcards, kBroken };

// Mostly what the web server takes; with Flavour::kBroken every now and then what it refuses.
class RandomRules {
 public:
  RandomRules(unsigned seed, Flavour flavour) : dice_(seed), flavour_(flavour) {
    MakeGroups();
    MakeRules();
  }
  std::string groups;
  std::string rules;

 private:
  bool Break() { return flavour_ == Flavour::kBroken && dice_.OneIn(40); }

  void MakeGroups() {
    groups = "# A comment\n[groups]\r\n";
    if (Break()) groups += "[other]\n";
    for (std::size_t i = 0; i < kGroups.size(); ++i) {
      groups += (Break() ? "@" : "") + kGroups[i] + " = ";
      for (unsigned count = dice_.Below(4); count > 0; --count) {
        const Words later(kGroups.begin() + i + 1, kGroups.end());
        std::string member = !later.empty() && dice_.OneIn(3)
                                 ? "@" + dice_.Of(later)
                                 : dice_.Of({"alice", "bob", "&al", "c d"});
        // Only in a group that no other one holds; the libraries do not survive the rest.
        if (i == 0 && Break()) member = "@" + kGroups[i];
        if (Break()) member = "@undefined";
        groups += member + (dice_.OneIn(5) ? ",\n  " : " ,");
      }
      groups += "\n";
    }
    if (Break()) groups += "g0 = again\n";
  }

  std::string Key() {
    if (Break()) return dice_.Of({"~~alice", "~*", "**", "$x", "@none", "&none"});
    const std::string name = dice_.OneIn(2) ? dice_.Of({"alice", "bob", "carol", "Björk", "dave"})
                             : dice_.OneIn(2)
                                 ? "@" + dice_.Of(kGroups)
                                 : dice_.Of({"*", "$authenticated", "$anonymous", "&al", "&team"});
    return name != "*" && dice_.OneIn(4) ? "~" + name : name;
  }

  std::string Section() {
    if (Break()) return dice_.Of({"/a/", "/a//b", "/./a", ":x:/a", ":glob:", "repo:a", "other"});
    std::string path = dice_.Of(kPaths);
    if (flavour_ == Flavour::kWildcards && dice_.OneIn(2)) {
      path = dice_.Of({"/**", "/*", "/a/*", "/a/**/c", "/**/b", "/a*/b", "/?", "/[ab]/**",
                       "/**/*/c", "/a/\\b", "/*/*"});
      return (dice_.OneIn(4) ? ":glob:repo:" : ":glob:") + path;
    }
    if (dice_.OneIn(4)) return (dice_.OneIn(3) ? "other:" : "repo:") + path;
    return dice_.OneIn(30) ? "/" + path : path;
  }

  void MakeRules() {
    rules = "[aliases]\nal = carol\nteam = @g2\n";
    if (Break()) rules += "&x = y\n";
    Words seen;
    for (unsigned count = 1 + dice_.Below(9); count > 0; --count) {
      const std::string section = Section();
      if (flavour_ != Flavour::kBroken && std::ranges::count(seen, section)) continue;
      seen.push_back(section);
      rules += "[" + section + "]\n";
      for (unsigned entries = dice_.Below(5); entries > 0; --entries) {
        // One after the other: compilers differ in the order in which they take parts of a sum.
        rules += Key();
        rules += dice_.OneIn(3) ? ":" : " = ";
        rules += dice_.Of({"", "r", "rw", "rw", "wr", "r w", " r "}) + "\n";
        if (Break()) rules += dice_.Of({"x = w\n", "x = R\n", "x\n", " x = r\n", "  # x\n"});
      }
    }
  }

  Dice dice_;
  Flavour flavour_;
};

class Library {
 public:
  explicit Library(const RandomRules& texts) {
    svn_authz_t* authz = nullptr;
    svn_error_t* const error = svn_repos_authz_parse2(
        &authz, Stream(texts.rules), Stream(texts.groups), nullptr, nullptr, pool_, pool_);
    if (!error) authz_ = authz;
    svn_error_clear(error);
  }
  bool refuses() const { return !authz_; }
  AccessLevel Level(const std::string& path, const std::string& user) const {
    const auto may = [&](svn_repos_authz_access_t access) {
      svn_boolean_t granted = FALSE;
      svn::Check(svn_repos_authz_check_access(authz_, "repo", path.c_str(), user.c_str(), access,
                                              &granted, pool_));
      return granted != FALSE;
    };
    if (may(svn_authz_write)) return AccessLevel::ReadWrite;
    return may(svn_authz_read) ? AccessLevel::ReadOnly : AccessLevel::NoAccess;
  }

 private:
  svn_stream_t* Stream(const std::string& text) {
    return svn_stream_from_string(svn_string_create(text.c_str(), pool_), pool_);
  }
  svn::Pool pool_ = svn::Pool::Root();
  svn_authz_t* authz_ = nullptr;
};

// The rule that is named must be enough by itself: in a file of nothing else, it gives the same.
void ExpectTheRuleAlone(const RandomRules& texts, const AuthzDecision& decision,
                        const std::string& path, const std::string& user) {
  if (!decision.entry) {
    EXPECT_EQ(decision.access, AccessLevel::NoAccess);
    return;
  }
  constexpr const char* kValues[] = {"", "r", "rw"};
  RandomRules alone = texts;
  alone.rules = "[aliases]\nal = carol\nteam = @g2\n[" + std::string(decision.section->name) +
                "]\n" + std::string(decision.entry->key) + " = " +
                kValues[static_cast<int>(decision.entry->access)] + "\n";
  EXPECT_EQ(Library(alone).Level(path, user), decision.access) << alone.rules;
}

void ExpectTheChain(const AuthzRules& rules, const AuthzDecision& decision,
                    const std::string& user) {
  if (!decision.entry || decision.entry->whom != AuthzEntry::Whom::kGroup ||
      decision.entry->inverted)
    return;
  const auto chain = rules.Chain(decision);
  ASSERT_FALSE(chain.empty());
  EXPECT_EQ(chain.front(), decision.entry->name);
  for (std::size_t i = 0; i + 1 < chain.size(); ++i)
    EXPECT_TRUE(std::ranges::count(rules.groups().Find(chain[i])->members,
                                   "@" + std::string(chain[i + 1])));
  const auto& members = rules.groups().Find(chain.back())->members;
  EXPECT_TRUE(std::ranges::count(members, user) || std::ranges::count(members, "&al"));
}

void Compare(const RandomRules& texts) {
  const AuthzGroups groups(texts.groups);
  const AuthzRules rules(texts.rules, groups);
  const Library library(texts);
  ASSERT_EQ(!groups.problems().empty() || !rules.problems().empty(), library.refuses());
  if (library.refuses()) return;
  for (const std::string& path : kPaths) {
    for (const std::string& user : kUsers) {
      SCOPED_TRACE(path + " " + user);
      const AuthzDecision decision = rules.Decide(rules.LevelsOf("repo", path), {user});
      ASSERT_EQ(decision.access, library.Level(path, user));
      ExpectTheRuleAlone(texts, decision, path, user);
      ExpectTheChain(rules, decision, user);
    }
  }
}

TEST(AuthzAgreementTest, DecidesAsSubversionDoesAndNamesARuleThatIsEnough) {
  int refused = 0;
  for (const Flavour flavour : {Flavour::kPlain, Flavour::kWildcards, Flavour::kBroken}) {
    for (unsigned seed = 0; seed < 150; ++seed) {
      const RandomRules texts(seed, flavour);
      SCOPED_TRACE(texts.groups + texts.rules);
      Compare(texts);
      if (HasFatalFailure()) return;
      if (flavour == Flavour::kBroken) refused += Library(texts).refuses() ? 1 : 0;
    }
  }
  EXPECT_GT(refused, 30);
  EXPECT_LT(refused, 140);
}

}  // namespace
}  // namespace kelvarion::access
