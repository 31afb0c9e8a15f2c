#include "config/registry_accessor.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <functional>

#include "config/journal.h"
#include "errors/exception.h"
#include "platform/text/encoding.h"
#include "tests/support/failure.h"
#include "tests/support/test_home.h"

namespace kelvarion {
namespace {

using platform::KeyPath;
using platform::RegistryType;
using platform::RegistryValue;
using platform::RootKey;
using testing::MessageOf;
using Texts = std::vector<std::u16string>;

class RegistryAccessorTest : public ::testing::Test {
 protected:
  RegistryAccessorTest() {
    EXPECT_EQ(platform::OpenRegistryFile(folder_ + "/registry.db", u"S-1-22-1-1", registry_), 0u);
    EXPECT_EQ(registry_->CreateKey(key_), ERROR_SUCCESS);
    config_ = std::make_unique<RegistryAccessor>(*registry_);
  }

  void Put(const std::u16string& name, const RegistryValue& value) {
    ASSERT_EQ(registry_->Set(key_, name, value), ERROR_SUCCESS);
  }
  RegistryValue Raw(const std::u16string& name) const {
    RegistryValue value;
    EXPECT_EQ(registry_->Query(key_, name, value), ERROR_SUCCESS);
    return value;
  }
  std::u16string Path(const char* name) const {
    return platform::Utf16ForDisplay(folder_ + "/" + name);
  }

  const KeyPath key_{RootKey::kLocalMachine, u"SOFTWARE\\Kelvarion\\Kelvarion Server"};
  testing::TemporaryFolder temporary_;
  const std::string& folder_ = temporary_.native();
  std::unique_ptr<platform::Registry> registry_;
  std::unique_ptr<RegistryAccessor> config_;
};

// What is generated from a home without settings is compared elsewhere.
TEST_F(RegistryAccessorTest, AbsentValuesReadAsTheirDefaultsAlsoWithoutTheKey) {
  const auto expect_defaults = [](const IcRegistryAccessor& config) {
    EXPECT_EQ(config.GetRepositoriesRoot(u"/srv"), u"/srv");
    EXPECT_TRUE(config.IsWindowsBasicEnabled());
    EXPECT_EQ(config.GetServerBindings(), Texts());
    EXPECT_FALSE(config.GetCreateGnuTLSCompatibleCertificate());
    EXPECT_EQ(config.GetCertificateRequestSignatureAlgorithm(), u"sha256");
    EXPECT_EQ(config.GetHttpSvnCacheSize(), 128u);
    EXPECT_EQ(config.GetWmiProviderLogLevel(), 1u);
  };
  expect_defaults(*config_);
  ASSERT_EQ(registry_->DeleteTree(key_), ERROR_SUCCESS);
  expect_defaults(*config_);
  const RegistryAccessor workstation(*registry_, key_, ProductType::kWorkstation);
  EXPECT_EQ(workstation.GetHttpSvnCacheSize(), 32u);
}

TEST_F(RegistryAccessorTest, RequiredValuesFailWhenTheyAreAbsent) {
  const std::function<void()> rows[] = {
      [&] { config_->GetServerPort(true); },
      [&] { config_->GetInstallDir(); },
      [&] { config_->GetRepositoriesRoot(std::nullopt); },
  };
  for (const auto& read : rows)
    EXPECT_TRUE(MessageOf<Win32Exception>(read).ends_with(
        u"' from registry: The system cannot find the file specified. (0x80070002)"));
  ASSERT_EQ(registry_->DeleteTree(key_), ERROR_SUCCESS);
  for (const auto& read : rows)
    EXPECT_TRUE(MessageOf<Win32Exception>(read).starts_with(
        u"Cannot open registry key HKEY_LOCAL_MACHINE\\SOFTWARE\\Kelvarion\\Kelvarion Server: "));
}

TEST_F(RegistryAccessorTest, FlagsAreStoredAsOtherToolsReadThem) {
  using I = IcRegistryAccessor;
  const struct {
    const char16_t* name;
    bool (I::*get)() const;
    void (I::*set)(bool);
    bool text;
    bool inverted = false;
  } rows[] = {
      {u"UseSSL", &I::GetUseSSL, &I::SetUseSSL, true},
      {u"UseWindowsAuth", &I::GetUseWindowsAuth, &I::SetUseWindowsAuth, true},
      {u"UseUPNFormat", &I::GetUseUPNFormat, &I::SetUseUPNFormat, true},
      {u"DisableWindowsBasic", &I::IsWindowsBasicEnabled, &I::SetWindowsBasicEnabled, true, true},
      {u"EnableWindowsIntegrated", &I::GetEnableWindowsIntegrated, &I::SetEnableWindowsIntegrated,
       true},
      {u"UseServerBindings", &I::GetUseServerBindings, &I::SetUseServerBindings, true},
      {u"EnableAccessLogging", &I::GetEnableAccessLogging, &I::SetEnableAccessLogging, false},
      {u"EnableOperationalLogging", &I::GetEnableOperationalLogging,
       &I::SetEnableOperationalLogging, false},
      {u"DoNotAdjustRepositoriesRootPermissions", &I::GetAdjustRepositoriesRootPermissions,
       &I::SetAdjustRepositoriesRootPermissions, false, true},
      {u"DisableRedirectionFromLegacyWebInterface", &I::GetRedirectFromLegacyWebInterface,
       &I::SetRedirectFromLegacyWebInterface, false, true},
  };
  I& config = *config_;
  for (const auto& row : rows) {
    SCOPED_TRACE(platform::Utf8ForDisplay(row.name));
    const auto stored = [&](const char16_t* text, std::uint32_t number) {
      return row.text ? RegistryValue::String(text) : RegistryValue::Dword(number);
    };
    for (const bool value : {true, false}) {
      (config.*row.set)(value);
      EXPECT_EQ((config.*row.get)(), value);
      EXPECT_EQ(Raw(row.name), value != row.inverted ? stored(u"1", 1) : stored(u"0", 0));
    }
    for (const char16_t* text : {u"yes", u"", u"00"}) {
      Put(row.name, stored(text, 7));
      EXPECT_EQ((config.*row.get)(), !row.inverted);
    }
  }
}

TEST_F(RegistryAccessorTest, TextsAndPortsAreReadAsTheyAreKept) {
  config_->SetRepositoriesRoot(u"/srv/caf\u00E9");
  config_->SetServerPort(true, 8443);
  Put(u"InstallDir", {RegistryType::kExpandString, RegistryValue::String(u"%TEMP%\\x").data});
  EXPECT_EQ(config_->GetRepositoriesRoot(u"other"), u"/srv/caf\u00E9");
  EXPECT_EQ(config_->GetServerPort(true), 8443);
  EXPECT_EQ(config_->GetInstallDir(), u"%TEMP%\\x");
  EXPECT_EQ(Raw(u"SSLServerPort"), RegistryValue::String(u"8443"));
  const std::pair<const char16_t*, int> ports[] = {
      {u" 80x", 80}, {u"", 0}, {u"x", 0}, {u"-5", -5}, {u"99999999999", 0x7FFFFFFF}};
  for (const auto& [text, port] : ports) {
    Put(u"ServerPort", RegistryValue::String(text));
    EXPECT_EQ(config_->GetServerPort(false), port) << platform::Utf8ForDisplay(text);
  }
}

TEST_F(RegistryAccessorTest, BindingsKeepTheirOrder) {
  using Bytes = std::vector<std::uint8_t>;
  config_->SetServerBindings({u"10.0.0.1", u"::1"});
  EXPECT_EQ(config_->GetServerBindings(), (Texts{u"10.0.0.1", u"::1"}));
  config_->SetServerBindings({});
  EXPECT_EQ(Raw(u"ServerBindings").data, (Bytes{0, 0}));
  EXPECT_EQ(config_->GetServerBindings(), Texts());
  // Other tools leave empty strings in between, or the end without its NULs.
  Put(u"ServerBindings", {RegistryType::kMultiString, {0, 0, 'a', 0, 0, 0, 0, 0, 'b', 0}});
  EXPECT_EQ(config_->GetServerBindings(), (Texts{u"a", u"b"}));
  Put(u"ServerBindings", RegistryValue::String(u"10.0.0.1"));
  EXPECT_EQ(MessageOf<Win32Exception>([&] { config_->GetServerBindings(); }),
            u"Data type of 'ServerBindings' value is unexpected: The data is invalid. "
            u"(0x8007000D)");
}

TEST_F(RegistryAccessorTest, ValuesOfAnotherTypeAreRefused) {
  Put(u"UseSSL", RegistryValue::Dword(1));
  Put(u"WmiProviderLogLevel", RegistryValue::String(u"1"));
  for (const std::function<void()>& read :
       {std::function<void()>([&] { config_->GetUseSSL(); }),
        std::function<void()>([&] { config_->GetWmiProviderLogLevel(); })})
    EXPECT_TRUE(MessageOf<Win32Exception>(read).ends_with(u"The data is invalid. (0x8007000D)"));
}

TEST_F(RegistryAccessorTest, WritingNeverCreatesTheKey) {
  const KeyPath test_key{RootKey::kCurrentUser, u"Software\\Test"};
  RegistryAccessor config(*registry_, test_key);
  const std::function<void()> rows[] = {
      [&] { config.SetServerName(u"x"); },
      [&] { config.SetEnableAccessLogging(true); },
      [&] { config.SetServerBindings({}); },
  };
  for (const auto& write : rows)
    EXPECT_TRUE(MessageOf<Win32Exception>(write).starts_with(
        u"Cannot open registry key HKEY_CURRENT_USER\\Software\\Test: "));
  EXPECT_EQ(registry_->OpenKey(test_key), ERROR_FILE_NOT_FOUND);
}

TEST_F(RegistryAccessorTest, AJournalPutsSettingsBackAsTheyWere) {
  Put(u"OrmuAdminSD", {RegistryType::kBinary, {1, 2, 3}});
  {
    JournalFile journal(Path("journal"), JournalFile::Open::kNew);
    config_->SaveOrmuAdminSD(journal);
    config_->SaveOrmuReplicationPartnersSID(journal);
  }
  config_->SetOrmuAdminSD(u"O:BA");
  config_->SetOrmuReplicationPartnersSID(u"S-1-1-0");
  for (int round = 0; round < 2; ++round) {
    JournalFile journal(Path("journal"), JournalFile::Open::kExisting);
    config_->RestoreOrmuAdminSD(journal);
    config_->RestoreOrmuReplicationPartnersSID(journal);
    EXPECT_EQ(Raw(u"OrmuAdminSD"), (RegistryValue{RegistryType::kBinary, {1, 2, 3}}));
    RegistryValue value;
    EXPECT_EQ(registry_->Query(key_, u"OrmuReplicationPartnersSID", value), ERROR_FILE_NOT_FOUND);
  }
}

TEST_F(RegistryAccessorTest, DamagedJournalsAreRefusedAndChangeNothing) {
  config_->SetOrmuAdminSD(u"before");
  const auto le = [](std::uint32_t n) {
    return std::string{static_cast<char>(n), static_cast<char>(n >> 8), static_cast<char>(n >> 16),
                       static_cast<char>(n >> 24)};
  };
  const std::string present = le(0x1244AA02) + le(4) + le(1);
  const std::string type = le(0x1244AA02) + le(4) + le(3);
  const std::u16string bad = u"Invalid journal file format";
  const std::u16string end =
      u"Cannot read journal file: The end of the file was reached too early. (0x80070026)";
  const struct {
    const char* what;
    std::string bytes;
    std::u16string message;
  } rows[] = {
      {"a block first", le(0x1244AA04) + le(4) + le(1), bad},
      {"an integer of 8 bytes", le(0x1244AA02) + le(8) + le(1) + le(0), bad},
      {"an integer for the data", present + type + le(0x1244AA02) + le(4) + le(1), bad},
      {"an absurd length", present + type + le(0x1244AA04) + le(0xFFFFFFFF), bad},
      {"nothing", "", end},
      {"half a header", le(0x1244AA02), end},
      {"half the data", present + type + le(0x1244AA04) + le(8) + le(1), end},
  };
  for (const auto& row : rows) {
    testing::WriteFile(folder_ + "/journal", row.bytes);
    JournalFile journal(Path("journal"), JournalFile::Open::kExisting);
    EXPECT_EQ(MessageOf<Exception>([&] { config_->RestoreOrmuAdminSD(journal); }), row.message)
        << row.what;
    EXPECT_EQ(Raw(u"OrmuAdminSD"), RegistryValue::String(u"before")) << row.what;
  }
}

}  // namespace
}  // namespace kelvarion
