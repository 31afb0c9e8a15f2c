#include "access/effective/effective_access.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "errors/exception.h"
#include "platform/security/security.h"
#include "platform/text/encoding.h"
#include "svn/repository.h"
#include "tests/support/test_home.h"

namespace kelvarion::access {
namespace {

using testing::WriteFile;

class EffectiveAccessTest : public ::testing::Test {
 protected:
  EffectiveAccessTest() {
    const svn::Pool pool(home_.context().root_pool());
    svn::CreateRepository(home_.machine() ? platform::Utf16ForDisplay(home_.root()) + u"/r" : u"",
                          pool);
    Users("alice:x\r\nbob:x\r\n");
    Groups("[groups]\r\nouter=@middle\r\nmiddle=dave,@inner\r\ninner=alice\r\n");
    Rules("");
  }
  void Users(std::string_view text) const { WriteFile(home_.root() + "/htpasswd", text); }
  void Groups(std::string_view text) const { WriteFile(home_.root() + "/groups.conf", text); }
  void Rules(std::string_view text) const {
    WriteFile(home_.root() + "/r/conf/Kelvarion-SvnAuthz.ini", text);
  }
  void MachineRules(std::string_view own, std::string_view global) const {
    home_.configuration().SetUseWindowsAuth(true);
    WriteFile(home_.root() + "/r/conf/Kelvarion-WinAuthz.ini", own);
    WriteFile(home_.root() + "/Kelvarion-GlobalWinAuthz.ini", global);
  }
  std::vector<EffectiveAccess> Explain(const std::u16string& path,
                                       const std::optional<std::u16string>& account = {}) const {
    return ExplainAccess(home_.context(), {u"r", path}, account);
  }
  // "rw [/a] @group:3 @group @inner": level, section, key, line, groups.
  std::string Shown(const std::u16string& path, const std::u16string& account) const {
    constexpr const char* kLevels[] = {"no", "r", "rw"};
    const EffectiveAccess access = Explain(path, account).at(0);
    std::string text = kLevels[static_cast<int>(access.access)];
    if (access.reason->rule)
      text += " [" + platform::Utf8ForDisplay(access.reason->rule->section) + "] " +
              platform::Utf8ForDisplay(access.reason->rule->key) + ":" +
              std::to_string(access.reason->rule->line);
    for (const std::u16string& group : access.reason->through)
      text += " " + platform::Utf8ForDisplay(group);
    return text;
  }

  const testing::TestHome home_;
};

TEST_F(EffectiveAccessTest, NamesFileLineAndTheGroupsInBetween) {
  Rules(
      "[aliases]\nboss = alice\n[/]\n* = r\n@outer = rw\nbob =\n"
      "[/a]\n&boss =\n@inner = r\n[r:/b]\n~alice = rw\n[other:/b]\nbob = r\n");
  const struct {
    const char16_t* path;
    const char16_t* account;
    const char* shown;
  } rows[] = {
      {u"/", u"alice", "rw [/] @outer:5 @outer @middle @inner"},
      {u"/c/d/", u"dave", "rw [/] @outer:5 @outer @middle"},
      {u"/", u"bob", "r [/] *:4"},  // What his own rule denies the other one gives.
      {u"/a/x", u"alice", "r [/a] @inner:9 @inner"},
      {u"/b", u"bob", "rw [r:/b] ~alice:11"},
      {u"/b", u"alice", "rw [/] @outer:5 @outer @middle @inner"},
      {u"/a", u"stranger", "r [/] *:4"},
  };
  for (const auto& row : rows)
    EXPECT_EQ(Shown(row.path, row.account), row.shown) << platform::Utf8ForDisplay(row.path);
  const auto all = Explain(u"/b");
  ASSERT_EQ(all.size(), 2u);
  EXPECT_TRUE(all[0].name() == u"alice" && all[0].can_log_on);
  EXPECT_TRUE(all[0].reason->rule->file.ends_with(u"/r/conf/Kelvarion-SvnAuthz.ini"));
  EXPECT_FALSE(Explain(u"/", u"dave").at(0).can_log_on);
}

TEST_F(EffectiveAccessTest, SaysWhyEverythingIsRefused) {
  const struct {
    const char* groups;
    const char* rules;
    const char16_t* says;
  } rows[] = {
      {"[groups]\na=alice\n", "[/]\nalice=rw\n@b=r\n", u"/conf/Kelvarion-SvnAuthz.ini, line 3:"},
      {"[groups]\na=@b\n", "[/]\nalice=rw\n", u"/groups.conf, line 2:"},
      {"[groups]\na=@b\nb=@a\n", "[/]\nalice=rw\n", u"contains itself"},
      {"[groups]\n", "[/]\nalice=rw\n[/]\nbob=r\n", u"line 3: the section comes twice"},
  };
  for (const auto& row : rows) {
    Groups(row.groups);
    Rules(row.rules);
    const EffectiveAccess access = Explain(u"/", u"alice").at(0);
    EXPECT_EQ(access.access, AccessLevel::NoAccess);
    EXPECT_FALSE(access.reason->rule);
    EXPECT_NE(access.reason->explanation.find(row.says), std::u16string::npos)
        << platform::Utf8ForDisplay(access.reason->explanation);
  }
}

// Subversion 1.14 turns a segment around when it looks for its end, and then misses other rules.
TEST_F(EffectiveAccessTest, GivesNoRuleWhereSubversionDoesNotFollowItsOwn) {
  Groups("[groups]\n");
  Rules(
      "[/]\nalice = r\n[:glob:/*/*x]\nbob = r\n[:glob:/**/*x]\nbob = r\n[:glob:/ab/cd]\nalice = "
      "rw\n"
      "[:glob:/a*/cd]\nalice =\n[:glob:/a*/*d]\nalice = rw\n");
  const EffectiveAccess access = Explain(u"/ab/cd", u"alice").at(0);
  EXPECT_EQ(access.access, AccessLevel::ReadWrite);
  EXPECT_TRUE(access.reason->rule ||
              access.reason->explanation.find(u"cannot be said") != std::u16string::npos);
}

TEST_F(EffectiveAccessTest, MachineAccountsAreDecidedByTheirSids) {
  const std::string uid = std::to_string(getuid());
  const std::string gid = std::to_string(getgid());
  const std::u16string user = platform::Utf16ForDisplay("S-1-22-1-" + uid);
  MachineRules("[/]\nS-1-22-2-" + gid + "=rw\n[/a]\nS-1-22-1-" + uid + "=\n[/b]\n*=\n",
               "[global]\nS-1-5-11=r\n");
  const std::string group =
      platform::Utf8ForDisplay(Explain(u"/", user).at(0).reason->through.at(0));
  EXPECT_EQ(Shown(u"/x", user), "rw [/] S-1-22-2-" + gid + ":2 " + group);
  EXPECT_EQ(Shown(u"/a/x", user), "no [/a] S-1-22-1-" + uid + ":4");
  EXPECT_EQ(Shown(u"/b", user), "no [/b] *:6");
  EXPECT_EQ(Shown(u"/", u"*"), "no");
  EXPECT_TRUE(Explain(u"/", user).at(0).can_log_on);
  EXPECT_EQ(Explain(u"/a").size(), 3u);
  EXPECT_THROW(Explain(u"/", u"nobody at all"), Win32Exception);
  MachineRules("[/a/]\n*=r\n", "");
  EXPECT_NE(Explain(u"/", u"*").at(0).reason->explanation.find(u"line 1"), std::u16string::npos);
  MachineRules("[/]\nx=r\n*=%(x)s\n", "");
  EXPECT_THROW(Explain(u"/", u"*"), SimpleException);
}

}  // namespace
}  // namespace kelvarion::access
