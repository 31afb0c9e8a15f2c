#include "platform/machine/machine.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "platform/com/class_object.h"
#include "tests/support/temporary_folder.h"

namespace kelvarion::platform {
namespace {

class MachineTest : public ::testing::Test {
 protected:
  ~MachineTest() override { SetCurrentMachine(nullptr); }
  std::shared_ptr<Machine> Open(const std::string& name) {
    std::u16string error;
    auto machine = OpenMachine(folder_ + "/" + name, error);
    EXPECT_NE(machine, nullptr) << std::string(error.begin(), error.end());
    return machine;
  }

  testing::TemporaryFolder temporary_;
  const std::string& folder_ = temporary_.native();
};

TEST_F(MachineTest, AHomeIsMadeWithAllItsStoresAndOpenedAgain) {
  const KeyPath key{RootKey::kLocalMachine, u"Software"};
  {
    const auto machine = Open("state/home");
    ASSERT_TRUE(machine->registry && machine->security && machine->services && machine->event_log);
    EXPECT_EQ(machine->registry->CreateKey(key), ERROR_SUCCESS);
  }
  EXPECT_EQ(Open("state/home")->registry->OpenKey(key), ERROR_SUCCESS);
  EXPECT_EQ(Open("state/other")->registry->OpenKey(key), ERROR_FILE_NOT_FOUND);
  struct stat status {};
  ASSERT_EQ(stat((folder_ + "/state/home").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0066, 0u);
}

TEST_F(MachineTest, AHomeThatCannotBeSaysWhy) {
  std::ofstream(folder_ + "/file");  // NOLINT: makes it
  for (const char* home : {"/file", "/file/home"}) {
    std::u16string error;
    EXPECT_EQ(OpenMachine(folder_ + home, error), nullptr);
    EXPECT_NE(error.find(u"/file"), std::u16string::npos) << home;
  }
}

TEST_F(MachineTest, AHomeOfAnotherAccountIsNotOpened) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can give a folder away";
  const std::string home = folder_ + "/home";
  std::filesystem::create_directory(home);
  ASSERT_EQ(chown(home.c_str(), 65534, 0), 0);
  std::u16string error;
  EXPECT_EQ(OpenMachine(home, error), nullptr);
  EXPECT_NE(error.find(u"nobody"), std::u16string::npos) << std::string(error.begin(), error.end());
  EXPECT_TRUE(std::filesystem::is_empty(home));
}

TEST_F(MachineTest, ClassesAreFoundThroughTheCurrentMachinesRegistry) {
  const Guid class_id{1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
  const auto machine = Open("home");
  const KeyPath key{RootKey::kClassesRoot, u"CLSID\\" + ToText(class_id) + u"\\InprocServer32"};
  ASSERT_EQ(machine->registry->CreateKey(key), ERROR_SUCCESS);
  ASSERT_EQ(machine->registry->Set(key, u"", RegistryValue::String(u"/none/\u00E4.so")), 0u);
  ComPtr<IUnknown> object;
  SetCurrentMachine(machine);
  EXPECT_EQ(CurrentMachine(), machine);
  EXPECT_EQ(CoCreateInstance(class_id, IUnknown::kIid, object.PutVoid()),
            HresultFromWin32(ERROR_MOD_NOT_FOUND));
  EXPECT_NE(LastLoadError().find("/none/\xC3\xA4.so"), std::string::npos) << LastLoadError();
  SetCurrentMachine(nullptr);
  EXPECT_EQ(CoCreateInstance(class_id, IUnknown::kIid, object.PutVoid()), REGDB_E_CLASSNOTREG);
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
