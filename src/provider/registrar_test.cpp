#include "provider/registrar.h"

#include <gtest/gtest.h>

#include "tests/support/temporary_folder.h"
#include "util/resources.h"

namespace kelvarion {
namespace {

using platform::KeyPath;
using platform::RootKey;

class RegistrarTest : public ::testing::Test {
 protected:
  RegistrarTest() {
    EXPECT_EQ(platform::OpenRegistryFile(folder_ + "/registry.db", u"S-1-22-1-0", registry_),
              ERROR_SUCCESS);
    EXPECT_EQ(registry_->CreateKey({RootKey::kLocalMachine, u"Software\\Classes"}), ERROR_SUCCESS);
  }

  std::u16string TextOf(const KeyPath& key, const std::u16string& name) const {
    platform::RegistryValue value;
    if (registry_->Query(key, name, value) != ERROR_SUCCESS) return u"<missing>";
    return std::u16string(reinterpret_cast<const char16_t*>(value.data.data()),
                          value.data.size() / 2 - 1);
  }

  testing::TemporaryFolder temporary_;
  const std::string& folder_ = temporary_.native();
  std::unique_ptr<platform::Registry> registry_;
};

TEST_F(RegistrarTest, WhatAnOlderVersionLeftDoesNotSurvive) {
  const std::string script = util::LoadResource(u"REGISTRY", u"102");
  const KeyPath key{RootKey::kCurrentUser,
                    u"Software\\Classes\\CLSID\\{565B8FB4-EE30-4EE3-9B5B-E285678F1F9D}"};
  const Registrar registrar(*registry_, u"/opt/lib'x/provider.so", RegistrationScope::kUser);
  ASSERT_EQ(registrar.Register(script), S_OK);
  registry_->Set(key, u"Old", platform::RegistryValue::String(u"x"));
  ASSERT_EQ(registrar.Register(script), S_OK);
  EXPECT_EQ(TextOf(key, u"Old"), u"<missing>");
  EXPECT_EQ(TextOf(key, u""), u"KelvarionWMIProvider Class");
  const KeyPath server{key.root, key.path + u"\\InprocServer32"};
  EXPECT_EQ(TextOf(server, u""), u"/opt/lib'x/provider.so");
  EXPECT_EQ(TextOf(server, u"ThreadingModel"), u"Both");
  ASSERT_EQ(registrar.Unregister(script), S_OK);
  EXPECT_EQ(registry_->OpenKey(key), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(registrar.Unregister(script), S_OK) << "nothing left to remove is no failure";
}

TEST_F(RegistrarTest, ScriptsAreReadWhole) {
  const std::string longest(4096, 'x');
  const struct {
    const char* what;
    std::string script;
    HRESULT expected;
  } rows[] = {
      {"quotes within quotes", "HKCR { K = s 'it''s' }", S_OK},
      {"quoted names", "HKCR { 'A B' { val 'v w' = s 'y' } }", S_OK},
      {"deleting a key that is not there", "HKCR { Delete Gone }", S_OK},
      {"a token of the greatest length", "HKCR { K = s '" + longest + "' }", S_OK},
      {"a longer token", "HKCR { K = s '" + longest + "x' }", DISP_E_EXCEPTION},
      {"an unterminated quote", "HKCR { K = s 'text }", DISP_E_EXCEPTION},
      {"a missing brace", "HKCR { K", DISP_E_EXCEPTION},
      {"another type of value", "HKCR { K = d '1' }", DISP_E_EXCEPTION},
      {"a key without a name", "HKCR { ForceRemove '' }", DISP_E_EXCEPTION},
      {"no root", "{ }", DISP_E_EXCEPTION},
      {"nothing", "", DISP_E_EXCEPTION},
  };
  const Registrar registrar(*registry_, u"/m", RegistrationScope::kMachine);
  for (const auto& row : rows) EXPECT_EQ(registrar.Register(row.script), row.expected) << row.what;
  EXPECT_EQ(TextOf({RootKey::kClassesRoot, u"A B"}, u"v w"), u"y");
}

}  // namespace
}  // namespace kelvarion
