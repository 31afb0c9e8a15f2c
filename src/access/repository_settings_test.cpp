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
  EXPECT_EQ(ReadDelegation(context_, u"r"), SharedWith{}) << "no file";
  const auto read = [&](const std::string& general) {
    testing::WriteFile(Path("Kelvarion-Delegation.ini"),
                       "[general]\n" + general + "\n[managers]\nS-1-5-18 = x\n");
    return ReadDelegation(context_, u"r");
  };
  for (const char* on : {"enabled = yes", "enabled: TRUE", "enabled=1"})
    EXPECT_EQ(read(on), (SharedWith{true, {u"S-1-5-18"}})) << on;
  for (const char* off : {"enabled=no", "enabled=0", "other=yes", "Enabled=yes"})
    EXPECT_EQ(read(off), (SharedWith{false, {u"S-1-5-18"}})) << off;
  EXPECT_THROW(read("enabled="), SvnException);
  try {
    read("enabled=maybe");
    ADD_FAILURE() << "maybe is no switch";
  } catch (const SvnException& exception) {
    EXPECT_EQ(exception.code(), 125009);
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
