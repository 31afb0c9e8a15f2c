#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "access/effective/access_finding.h"
#include "errors/exception.h"
#include "platform/text/encoding.h"
#include "svn/error.h"
#include "svn/repository.h"
#include "tests/support/test_home.h"

namespace kelvarion::access {
namespace {

using Texts = std::vector<std::string>;

class AccessCheckTest : public ::testing::Test {
 protected:
  AccessCheckTest() {
    const svn::Pool pool(home_.context().root_pool());
    svn::CreateRepository(platform::Utf16ForDisplay(home_.root()) + u"/r", pool);
    Write("htpasswd", "alice:x\r\nbob:x\r\n");
    Write("groups.conf", "[groups]\r\nall=alice,bob\r\n");
    Write("r/conf/Kelvarion-SvnAuthz.ini", "[/]\r\n@all=rw\r\n");
  }
  void Write(const std::string& file, std::string_view text) const {
    testing::WriteFile(home_.root() + "/" + file, text);
  }
  // "Kind:line subject"
  Texts Check() const {
    Texts texts;
    CheckAccess(home_.context(), {[] { return false; }, u""}, [&](const AccessFinding& finding) {
      std::string text =
          platform::Utf8ForDisplay(finding.kind) + ":" + std::to_string(finding.line);
      if (!finding.subject.empty()) text += " " + platform::Utf8ForDisplay(finding.subject);
      texts.push_back(std::move(text));
    });
    return texts;
  }

  const testing::TestHome home_;
};

TEST_F(AccessCheckTest, FindsWhatIsWrongInEachFile) {
  const char* const kRules = "r/conf/Kelvarion-SvnAuthz.ini";
  const struct {
    const char* file;
    std::string_view text;
    Texts found;
  } rows[] = {
      {"htpasswd", "alice:x\nbob:x\n\ncarol\n", {"UnusableFile:3", "UnusableFile:4"}},
      {"htpasswd", "alice:x\nbob:x\nbob:y\nBob:x\n", {"DuplicateUser:3 bob", "CaseVariant:4 Bob"}},
      {"groups.conf", "[groups]\nall=alice bob\n", {"OddMember:2 alice bob"}},
      {"groups.conf", "[groups]\nall=ALICE,*\n", {"UnknownUser:2 ALICE", "OddMember:2 *"}},
      {"groups.conf", "[groups]\nall=@none\n", {"UndefinedGroup:2 all"}},
      {"groups.conf", "[groups]\nall=@b\nb=@all\n", {"GroupCycle:3 b"}},
      {"groups.conf", "[groups]\nall=@b\nb=\n", {"EmptyGroup:2 all", "EmptyGroup:3 b"}},
      {"groups.conf",
       "[groups]\nall=bob\nAll=bob\n[x]\n",
       {"UnusableFile:4 x", "CaseVariant:3 All"}},
      {kRules, "[/]\nalice=rx\n\n[/]\nbob=r\n", {"UnusableFile:2 alice", "UnusableFile:4"}},
      {kRules, "[/]\n@=\n@x=r\n", {"UndefinedGroup:2 @", "UndefinedGroup:3 @x"}},
      {kRules, "[/]\nx\n", {"UnusableFile:2"}},
      {kRules, "[/a/]\nalice=r\n[a]\n", {"UnusableFile:1", "UnusableFile:3"}},
      {kRules, "[/]\ncarol=r\ncarol=rw\n", {"DuplicateRule:3 carol", "UnknownUser:2 carol"}},
      {kRules,
       "[/]\nalice=r\n[/a]\n*=r\n[/A]\n*=r\n",
       {"StalePath:3", "CaseVariant:5", "StalePath:5"}},
      {kRules,
       "[/]\nalice=r\n[/a/b]\nalice=r\nbob=rw\n@all=r\n~bob=r\n",
       {"StalePath:3", "HiddenGrant:5 bob"}},
      {kRules, "[other:/]\n*=r\n[r:/]\n*=r\n", {"UnmatchedSection:1"}},
      {"Kelvarion-GlobalWinAuthz.ini", "[global]\n*=r\n", {"UnusedGlobalRules:1"}},
  };
  EXPECT_EQ(Check(), Texts{});
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    const std::string file = home_.root() + "/" + row.file;
    const std::string old = std::filesystem::exists(file) ? testing::ReadFile(file) : std::string();
    Write(row.file, row.text);
    Texts found = Check();
    // "all" is a group of the rules as well; what is undefined there follows from the row.
    EXPECT_EQ(found, row.found);
    Write(row.file, old);
  }
}

TEST_F(AccessCheckTest, WhatIsMissingOrDamagedIsAFindingAndHidesNothingElse) {
  std::filesystem::remove(home_.root() + "/groups.conf");
  std::filesystem::remove(home_.root() + "/htpasswd");
  std::filesystem::create_directories(home_.root() + "/no repository");
  std::filesystem::create_directories(home_.root() + "/s/conf");
  std::filesystem::remove(home_.root() + "/r/format");
  const Texts found = Check();
  for (const char* text : {"MissingFile:0", "UndefinedGroup:2 @all", "UnreadableRepository:0"})
    EXPECT_EQ(std::count(found.begin(), found.end(), text),
              text == Texts{"MissingFile:0"}[0] ? 3 : 1)
        << text;
  bool cancelled = false;
  EXPECT_THROW(CheckAccess(home_.context(), {[&] { return std::exchange(cancelled, true); }, u"x"},
                           [](const AccessFinding&) {}),
               SvnException);
}

TEST_F(AccessCheckTest, FindsWhatIsWrongInRulesForMachineAccounts) {
  home_.configuration().SetUseWindowsAuth(true);
  const std::string user = "S-1-22-1-" + std::to_string(getuid());
  Write("Kelvarion-GlobalWinAuthz.ini", "[global]\nS-1-5-21-9-9-9-9=r\n[/]\n*=r\n");
  Write("r/conf/Kelvarion-WinAuthz.ini",
        "[/x]\n" + user + "=r\nalice=r\n" + user + "=rw\n[x]\n[/x]\n*=%(y)s\n");
  EXPECT_EQ(Check(), (Texts{"UnresolvedAccount:2 S-1-5-21-9-9-9-9", "UnmatchedSection:3",
                            "UnclearRules:7 *", "NoSid:3 alice", "DuplicateRule:4 " + user,
                            "StalePath:1", "UnmatchedSection:5", "DuplicateRule:6"}));
  Write("Kelvarion-GlobalWinAuthz.ini", "");
  Write("r/conf/Kelvarion-WinAuthz.ini", "[/]\nS-1-5-18=r\n[/x/y]\n" + user + "=r\n");
  EXPECT_EQ(Check(), (Texts{"StalePath:3", "HiddenGrant:4 " + user}));
  Write("r/conf/Kelvarion-WinAuthz.ini", "[/x/]\n*=r\n");
  EXPECT_EQ(Check(), Texts{"UnusableFile:1"});
}

}  // namespace
}  // namespace kelvarion::access
