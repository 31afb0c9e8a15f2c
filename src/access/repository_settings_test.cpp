#include "access/repository_settings.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "access/authz_files.h"
#include "svn/error.h"
#include "tests/support/test_home.h"

namespace kelvarion::access {
namespace {

class RepositorySettingsTest : public ::testing::Test {
 protected:
  RepositorySettingsTest() { std::filesystem::create_directories(home_.root() + "/r/conf"); }
  std::string Path(const char* file) const { return home_.root() + "/r/conf/" + file; }

  const testing::TestHome home_;
  const ServerContext& context_ = home_.context();
};

TEST_F(RepositorySettingsTest, FilesAreWrittenWholeInTheFormThatModulesRead) {
  WriteDelegation(context_, u"r",
                  {true, {u"S-1-5-32-544", u"s-1-22-1-0033", u"S-1-5-18", u"S-1-22-1-33"}});
  EXPECT_EQ(testing::ReadFile(Path("Kelvarion-Delegation.ini")),
            std::string(kSettingsHeader) +
                "[general]\r\nenabled=yes\r\n\r\n"
                "[managers]\r\nS-1-22-1-33=*\r\nS-1-5-18=*\r\nS-1-5-32-544=*\r\n\r\n");
  EXPECT_EQ(ReadDelegation(context_, u"r"),
            (SharedWith{true, {u"S-1-22-1-33", u"S-1-5-18", u"S-1-5-32-544"}}));

  WriteReplication(context_, u"r", {false, {u"S-1-1-0"}});
  EXPECT_EQ(testing::ReadFile(Path("Kelvarion-Replication.ini")),
            std::string(kSettingsHeader) +
                "[general]\r\nenabled=no\r\n\r\n[replicators]\r\nS-1-1-0=*\r\n\r\n");
  EXPECT_EQ(ReadReplication(context_, u"r"), (SharedWith{false, {u"S-1-1-0"}}));

  WriteDelegation(context_, u"r", {});
  EXPECT_EQ(ReadDelegation(context_, u"r"), SharedWith{}) << "what stood there is gone";
}

TEST_F(RepositorySettingsTest, TheSwitchIsOneOfSubversionsWords) {
  const struct {
    const char* general;
    int enabled;  // 2: refused.
  } rows[] = {{"enabled = yes", 1}, {"enabled: TRUE", 1}, {"enabled=On", 1}, {"enabled=1", 1},
              {"enabled=no", 0},    {"enabled=Off", 0},   {"enabled=0", 0},  {"enabled=false", 0},
              {"other=yes", 0},     {"Enabled=yes", 0},   {"enabled=", 2},   {"enabled=t", 2},
              {"enabled=maybe", 2}};
  EXPECT_EQ(ReadDelegation(context_, u"r"), SharedWith{}) << "no file";
  for (const auto& row : rows) {
    testing::WriteFile(Path("Kelvarion-Delegation.ini"),
                       std::string("[general]\n") + row.general + "\n[managers]\nS-1-5-18 = x\n");
    try {
      const SharedWith settings = ReadDelegation(context_, u"r");
      EXPECT_EQ(settings.enabled, row.enabled == 1) << row.general;
      EXPECT_NE(row.enabled, 2) << row.general;
      EXPECT_EQ(settings.accounts, std::vector<std::u16string>{u"S-1-5-18"});
    } catch (const SvnException& exception) {
      EXPECT_EQ(row.enabled, 2) << row.general;
      EXPECT_EQ(exception.code(), 125009);
    }
  }
  try {
    ReadDelegation(context_, u"r");
    ADD_FAILURE() << "maybe is no switch";
  } catch (const SvnException& exception) {
    EXPECT_EQ(exception.Message(), u"Config error: invalid boolean value 'maybe'.");
  }
}

TEST_F(RepositorySettingsTest, ATextThatIsNoSidChangesNothing) {
  WriteDelegation(context_, u"r", {true, {u"S-1-5-18"}});
  for (const char16_t* text : {u"", u"alice", u"*", u"S-1-5-18\n[general]\nenabled=no"}) {
    EXPECT_THROW(WriteDelegation(context_, u"r", {false, {u"S-1-1-0", text}}), Win32Exception);
  }
  EXPECT_EQ(ReadDelegation(context_, u"r"), (SharedWith{true, {u"S-1-5-18"}}));
}

}  // namespace
}  // namespace kelvarion::access
