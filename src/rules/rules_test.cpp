#include "rules/rules.h"

#include <gtest/gtest.h>

#include <vector>

namespace kelvarion::rules {
namespace {

RuleSet Repository() {
  RuleSet rules;
  rules.Add("/", "user", "rw");
  rules.Add("/", "team", "r");
  rules.Add("/trunk", "team", "rw");
  rules.Add("/trunk/secret", "team", "");
  rules.Add("/trunk/secret/drop", "hermit", "rw");
  rules.Add("/trunk-old", "user", "");
  rules.Add("/odd", "user", "R");
  return rules;
}

RuleSet Global() {
  RuleSet rules;
  rules.Add("global", "guest", "r");
  rules.Add("global", "user", "");
  rules.Add("global", "*", "r");
  return rules;
}

struct Case {
  const char* path;
  std::vector<std::string> sids;
  Level level;
  const char* section;
  Level tree;
  Level anywhere;
};

TEST(Rules, DecideByTheNearestRuleOfEachSid) {
  constexpr Level none = Level::kNone, read = Level::kRead, write = Level::kWrite;
  const Case cases[] = {
      {"/", {"user"}, write, "/", none, write},
      {"/x/y", {"user"}, write, "/", write, write},
      {"/trunk/a", {"team"}, write, "/trunk", write, write},
      {"/trunk", {"team"}, write, "/trunk", none, write},
      {"/trunk/secret/deep", {"team"}, none, "/trunk/secret", none, write},
      {"/trunk/secret", {"user", "team"}, none, "/trunk/secret", none, write},
      {"/trunk-old", {"team"}, read, "/", read, write},
      {"/odd", {"user"}, none, "/odd", none, write},
      {"/", {"guest"}, read, "global", read, read},
      {"/trunk", {"guest", "team"}, write, "/trunk", none, write},
      {"", {"user"}, none, "global", none, write},
      {"/", {"stranger"}, none, "", none, none},
      {"/", {"stranger", "*"}, read, "global", read, read},
      {"/trunk", {"hermit"}, none, "", none, write},
  };
  const RuleSet repository = Repository();
  const RuleSet global = Global();
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.path << " " << c.sids[0]);
    const Decision decision = Decide(&repository, &global, c.path, c.sids);
    EXPECT_EQ(decision.level, c.level);
    EXPECT_EQ(decision.section, c.section);
    EXPECT_EQ(decision.found, *c.section != '\0');
    if (*c.path != '\0') {
      EXPECT_EQ(DecideTree(&repository, &global, c.path, c.sids).level, c.tree);
    }
    EXPECT_EQ(DecideAnywhere(&repository, &global, c.sids).level, c.anywhere);
  }
  EXPECT_EQ(DecideTree(&repository, &global, "/trunk", cases[3].sids).section, "/trunk/secret");
  EXPECT_EQ(Decide(nullptr, &global, "/trunk", cases[8].sids).level, read);
  EXPECT_EQ(DecideAnywhere(nullptr, &global, cases[8].sids).level, read);
  EXPECT_FALSE(Decide(nullptr, nullptr, "/", cases[0].sids).found);
}

TEST(Rules, KnowSidsInEverySpelling) {
  const struct {
    const char* text;
    const char* canonical;
  } rows[] = {
      {"S-1-22-1-1000", "S-1-22-1-1000"},
      {"s-1-022-0001-0001000", "S-1-22-1-1000"},
      {"S-1-22-1-0", "S-1-22-1-0"},
      {"S-1-22-1-000", "S-1-22-1-0"},
      {"S-1-22--1", "S-1-22--1"},  // None of the rest is a SID.
      {"S-1-22-01-", "S-1-22-01-"},
      {"s-", "s-"},
      {"*", "*"},
      {"s-1-22-1-0x10", "s-1-22-1-0x10"},
  };
  for (const auto& row : rows) EXPECT_EQ(CanonicalSid(row.text), row.canonical) << row.text;

  RuleSet rules;
  rules.Add("/", "S-1-22-1-7", "r");
  rules.Add("/", "s-1-22-1-07", "rw");
  rules.Add("/a", "s-1-22-1-7", "");
  rules.Add("/a", "S-1-22-1-7", "rw");
  const std::string sid = "S-1-22-1-7";
  EXPECT_EQ(Decide(&rules, nullptr, "/", {&sid, 1}).level, Level::kWrite);
  EXPECT_EQ(Decide(&rules, nullptr, "/a", {&sid, 1}).level, Level::kNone);
}

TEST(Rules, KnowWhichPathsCanBeFound) {
  for (const char* path : {"/", "/a", "/a b/c", "/...", "/a/.b"})
    EXPECT_TRUE(IsCanonicalPath(path)) << path;
  for (const char* path : {"", "a", "/a/", "//", "/a//b", "/.", "/a/..", "/../a", "/a/./b"})
    EXPECT_FALSE(IsCanonicalPath(path)) << path;
}

}  // namespace
}  // namespace kelvarion::rules
