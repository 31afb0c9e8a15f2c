#include "platform/machine/machine.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "tests/support/temporary_folder.h"

namespace kelvarion::platform {
namespace {

TEST(MachineTest, AHomeThatCannotBeSaysWhy) {
  const testing::TemporaryFolder folder;
  std::ofstream(folder.native() + "/file");  // NOLINT: makes it
  for (const char* home : {"/file", "/file/home"}) {
    std::u16string error;
    EXPECT_EQ(OpenMachine(folder.native() + home, error), nullptr);
    EXPECT_NE(error.find(u"/file"), std::u16string::npos) << home;
  }
}

TEST(MachineTest, AHomeOfAnotherAccountIsNotOpened) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can give a folder away";
  const testing::TemporaryFolder folder;
  const std::string& home = folder.native();
  ASSERT_EQ(chown(home.c_str(), 65534, 0), 0);
  std::u16string error;
  EXPECT_EQ(OpenMachine(home, error), nullptr);
  EXPECT_NE(error.find(u"nobody"), std::u16string::npos) << std::string(error.begin(), error.end());
  EXPECT_TRUE(std::filesystem::is_empty(home));
}

TEST(DefaultHomeTest, FollowsTheEnvironment) {
  setenv("KELVARION_HOME", "/srv/kv", 1);
  EXPECT_EQ(DefaultHome(), "/srv/kv");
  unsetenv("KELVARION_HOME");
  if (geteuid() == 0) {
    EXPECT_EQ(DefaultHome(), "/var/lib/kelvarion");
    return;
  }
  setenv("XDG_STATE_HOME", "/state", 1);
  EXPECT_EQ(DefaultHome(), "/state/kelvarion");
  setenv("XDG_STATE_HOME", "relative", 1);
  setenv("HOME", "/home/me", 1);
  EXPECT_EQ(DefaultHome(), "/home/me/.local/state/kelvarion");
}

}  // namespace
}  // namespace kelvarion::platform
