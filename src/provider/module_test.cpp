#include "provider/module.h"

#include <gtest/gtest.h>

#include "tests/support/test_home.h"

namespace kelvarion {
namespace {

using platform::RootKey;

TEST(ModuleTest, InstallersRegisterForTheUserOrTheMachine) {
  const testing::TestHome home;
  platform::SetCurrentMachine(home.machine());
  CWMIProviderModule& module = CWMIProviderModule::Instance();
  const std::u16string classes = u"Software\\Classes\\CLSID";
  const std::u16string provider = classes + u"\\{565B8FB4-EE30-4EE3-9B5B-E285678F1F9D}";
  const auto exists = [&](RootKey root, const std::u16string& path) {
    return home.machine()->registry->OpenKey({root, path}) == ERROR_SUCCESS;
  };
  const struct {
    const char16_t* command_line;
    RootKey written;
    RootKey other;
  } rows[] = {
      {u"USER", RootKey::kCurrentUser, RootKey::kLocalMachine},
      {u"users", RootKey::kLocalMachine, RootKey::kCurrentUser},
      {u"", RootKey::kLocalMachine, RootKey::kCurrentUser},
      {nullptr, RootKey::kLocalMachine, RootKey::kCurrentUser},
  };
  for (const auto& row : rows) {
    ASSERT_EQ(module.Install(true, row.command_line), S_OK);
    EXPECT_TRUE(exists(row.written, provider));
    EXPECT_FALSE(exists(row.other, provider));
    ASSERT_EQ(module.Install(false, row.command_line), S_OK);
    EXPECT_FALSE(exists(row.written, provider));
    EXPECT_TRUE(exists(row.written, classes));
  }
}

}  // namespace
}  // namespace kelvarion
