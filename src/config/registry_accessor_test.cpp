#include "config/registry_accessor.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <functional>

#include "config/journal.h"
#include "errors/exception.h"
#include "platform/files/files.h"
#include "platform/text/encoding.h"
#include "tests/support/temporary_folder.h"

namespace kelvarion {
namespace {

using platform::KeyPath;
using platform::RegistryType;
using platform::RegistryValue;
using platform::RootKey;
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

template <class Thrown>
std::u16string MessageOf(const std::function<void()>& body) {
  try {
    body();
  } catch (const Thrown& thrown) {
    return thrown.Message();
  }
  return u"nothing was thrown";
}

TEST_F(RegistryAccessorTest, AbsentValuesReadAsTheirDefaults) {
  const auto expect_defaults = [](const IcRegistryAccessor& config) {
    EXPECT_EQ(config.GetServerName(), u"");
    EXPECT_EQ(config.GetRepositoriesRoot(u"/srv"), u"/srv");
    EXPECT_EQ(config.GetRepositoriesURLPrefix(), u"/svn");
    EXPECT_FALSE(config.GetUseSSL());
    EXPECT_FALSE(config.GetUseWindowsAuth());
    EXPECT_FALSE(config.GetUseUPNFormat());
    EXPECT_TRUE(config.IsWindowsBasicEnabled());
    EXPECT_FALSE(config.GetEnableWindowsIntegrated());
    EXPECT_FALSE(config.GetUseServerBindings());
    EXPECT_EQ(config.GetServerBindings(), Texts());
    EXPECT_FALSE(config.GetEnableAccessLogging());
    EXPECT_FALSE(config.GetEnableOperationalLogging());
    EXPECT_TRUE(config.GetAdjustRepositoriesRootPermissions());
    EXPECT_FALSE(config.GetCreateGnuTLSCompatibleCertificate());
    EXPECT_EQ(config.GetSelfSignedCertificateSignatureAlgorithm(), u"sha256");
    EXPECT_EQ(config.GetCertificateRequestSignatureAlgorithm(), u"sha256");
    EXPECT_TRUE(config.GetRedirectFromLegacyWebInterface());
    EXPECT_EQ(config.GetHttpSvnCacheSize(), 128u);
    EXPECT_EQ(config.GetWmiProviderLogLevel(), 1u);
  };
  expect_defaults(*config_);
  // A missing key reads as one without values.
  ASSERT_EQ(registry_->DeleteTree(key_), ERROR_SUCCESS);
  expect_defaults(*config_);
  const RegistryAccessor workstation(*registry_, key_, ProductType::kWorkstation);
  EXPECT_EQ(workstation.GetHttpSvnCacheSize(), 32u);
}

TEST_F(RegistryAccessorTest, RequiredValuesFailWhenTheyAreAbsent) {
  const std::pair<std::u16string, std::function<void()>> rows[] = {
      {u"ServerPort", [&] { config_->GetServerPort(false); }},
      {u"SSLServerPort", [&] { config_->GetServerPort(true); }},
      {u"InstallDir", [&] { config_->GetInstallDir(); }},
      {u"RepositoriesRoot", [&] { config_->GetRepositoriesRoot(std::nullopt); }},
  };
  for (const auto& [name, read] : rows)
    EXPECT_EQ(MessageOf<Win32Exception>(read),
              u"Cannot read configuration parameter '" + name +
                  u"' from registry: The system cannot find the file specified. (0x80070002)");
  ASSERT_EQ(registry_->DeleteTree(key_), ERROR_SUCCESS);
  for (const auto& [name, read] : rows)
    EXPECT_TRUE(MessageOf<Win32Exception>(read).starts_with(
        u"Cannot open registry key HKEY_LOCAL_MACHINE\\SOFTWARE\\Kelvarion\\Kelvarion Server: "));
}

struct FlagRow {
  const char16_t* name;
  bool (IcRegistryAccessor::*get)() const;
  void (IcRegistryAccessor::*set)(bool);
  bool inverted;
};

TEST_F(RegistryAccessorTest, FlagsAreStoredAsOtherToolsReadThem) {
  using I = IcRegistryAccessor;
  const FlagRow text_rows[] = {
      {u"UseSSL", &I::GetUseSSL, &I::SetUseSSL, false},
      {u"UseWindowsAuth", &I::GetUseWindowsAuth, &I::SetUseWindowsAuth, false},
      {u"UseUPNFormat", &I::GetUseUPNFormat, &I::SetUseUPNFormat, false},
      {u"DisableWindowsBasic", &I::IsWindowsBasicEnabled, &I::SetWindowsBasicEnabled, true},
      {u"EnableWindowsIntegrated", &I::GetEnableWindowsIntegrated, &I::SetEnableWindowsIntegrated,
       false},
      {u"UseServerBindings", &I::GetUseServerBindings, &I::SetUseServerBindings, false},
  };
  const FlagRow number_rows[] = {
      {u"EnableAccessLogging", &I::GetEnableAccessLogging, &I::SetEnableAccessLogging, false},
      {u"EnableOperationalLogging", &I::GetEnableOperationalLogging,
       &I::SetEnableOperationalLogging, false},
      {u"DoNotAdjustRepositoriesRootPermissions", &I::GetAdjustRepositoriesRootPermissions,
       &I::SetAdjustRepositoriesRootPermissions, true},
      {u"DisableRedirectionFromLegacyWebInterface", &I::GetRedirectFromLegacyWebInterface,
       &I::SetRedirectFromLegacyWebInterface, true},
  };
  I& config = *config_;
  for (const FlagRow& row : text_rows) {
    const std::string what = platform::Utf8ForDisplay(row.name);
    for (const bool value : {true, false}) {
      (config.*row.set)(value);
      EXPECT_EQ((config.*row.get)(), value) << what;
      EXPECT_EQ(Raw(row.name).type, RegistryType::kString) << what;
      EXPECT_EQ(Raw(row.name).data, RegistryValue::String(value != row.inverted ? u"1" : u"0").data)
          << what;
    }
    for (const char16_t* text : {u"yes", u"", u"00"}) {
      Put(row.name, RegistryValue::String(text));
      EXPECT_EQ((config.*row.get)(), !row.inverted) << what;
    }
  }
  for (const FlagRow& row : number_rows) {
    const std::string what = platform::Utf8ForDisplay(row.name);
    for (const bool value : {true, false}) {
      (config.*row.set)(value);
      EXPECT_EQ((config.*row.get)(), value) << what;
      EXPECT_EQ(Raw(row.name).type, RegistryType::kDword) << what;
      EXPECT_EQ(Raw(row.name).data, RegistryValue::Dword(value != row.inverted).data) << what;
    }
    Put(row.name, RegistryValue::Dword(7));
    EXPECT_EQ((config.*row.get)(), !row.inverted) << what;
  }
}

TEST_F(RegistryAccessorTest, TextsAndNumbersAreReadWhereTheyAreKept) {
  config_->SetServerName(u"svn.example");
  config_->SetRepositoriesRoot(u"/srv/caf\u00E9");
  config_->SetRepositoriesURLPrefix(u"/repos");
  config_->SetServerPort(false, 8080);
  config_->SetServerPort(true, 8443);
  Put(u"CreateGnuTLSCompatibleCertificate", RegistryValue::Dword(1));
  Put(u"SelfSignedCertificateSignatureAlgorithm", RegistryValue::String(u"sha1"));
  Put(u"HttpSvnCacheSize", RegistryValue::Dword(256));
  Put(u"WmiProviderLogLevel", RegistryValue::Dword(0));
  Put(u"InstallDir", {RegistryType::kExpandString, RegistryValue::String(u"%TEMP%\\x").data});
  EXPECT_EQ(config_->GetServerName(), u"svn.example");
  EXPECT_EQ(config_->GetRepositoriesRoot(u"other"), u"/srv/caf\u00E9");
  EXPECT_EQ(config_->GetRepositoriesURLPrefix(), u"/repos");
  EXPECT_EQ(config_->GetServerPort(false), 8080);
  EXPECT_EQ(config_->GetServerPort(true), 8443);
  EXPECT_TRUE(config_->GetCreateGnuTLSCompatibleCertificate());
  EXPECT_EQ(config_->GetSelfSignedCertificateSignatureAlgorithm(), u"sha1");
  EXPECT_EQ(config_->GetHttpSvnCacheSize(), 256u);
  EXPECT_EQ(config_->GetWmiProviderLogLevel(), 0u);
  EXPECT_EQ(config_->GetInstallDir(), u"%TEMP%\\x");
  EXPECT_EQ(Raw(u"ServerPort").data, RegistryValue::String(u"8080").data);
  EXPECT_EQ(Raw(u"SSLServerPort").data, RegistryValue::String(u"8443").data);

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
  const std::pair<std::u16string, std::function<void()>> rows[] = {
      {u"UseSSL", [&] { config_->GetUseSSL(); }},
      {u"WmiProviderLogLevel", [&] { config_->GetWmiProviderLogLevel(); }},
  };
  for (const auto& [name, read] : rows)
    EXPECT_EQ(MessageOf<Win32Exception>(read), u"Cannot read configuration parameter '" + name +
                                                   u"' from registry: The data is invalid. "
                                                   u"(0x8007000D)");
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
    EXPECT_EQ(Raw(u"OrmuAdminSD").type, RegistryType::kBinary);
    EXPECT_EQ(Raw(u"OrmuAdminSD").data, (std::vector<std::uint8_t>{1, 2, 3}));
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
  struct Row {
    const char* what;
    std::string bytes;
    std::u16string message;
  };
  const Row rows[] = {
      {"a block first", le(0x1244AA04) + le(4) + le(1), bad},
      {"an integer of 8 bytes", le(0x1244AA02) + le(8) + le(1) + le(0), bad},
      {"an integer for the data", present + type + le(0x1244AA02) + le(4) + le(1), bad},
      {"an absurd length", present + type + le(0x1244AA04) + le(0xFFFFFFFF), bad},
      {"nothing", "", end},
      {"half a header", le(0x1244AA02), end},
      {"half the data", present + type + le(0x1244AA04) + le(8) + le(1), end},
  };
  for (const Row& row : rows) {
    bool created = false;
    ASSERT_EQ(platform::CreateAndWriteFile(Path("journal"), row.bytes, platform::NewFile::kPrivate,
                                           created),
              ERROR_SUCCESS);
    JournalFile journal(Path("journal"), JournalFile::Open::kExisting);
    EXPECT_EQ(MessageOf<Exception>([&] { config_->RestoreOrmuAdminSD(journal); }), row.message)
        << row.what;
    EXPECT_EQ(Raw(u"OrmuAdminSD").data, RegistryValue::String(u"before").data) << row.what;
  }
}

TEST(RootKeyNameTest, NamesThePredefinedKeys) {
  const std::pair<std::uint32_t, std::u16string> rows[] = {
      {0x80000000, u"HKEY_CLASSES_ROOT"},
      {0x80000001, u"HKEY_CURRENT_USER"},
      {0x80000002, u"HKEY_LOCAL_MACHINE"},
      {0x80000003, u"HKEY_USERS"},
      {0x80000004, u"HKEY_PERFORMANCE_DATA"},
      {0x80000050, u"HKEY_PERFORMANCE_TEXT"},
      {0x80000060, u"HKEY_PERFORMANCE_NLSTEXT"},
      {0x80000005, u"HKEY_CURRENT_CONFIG"},
      {0x80000006, u"HKEY_DYN_DATA"},
      {0x80000007, u"UNKNOWN"},
  };
  for (const auto& [root, name] : rows) EXPECT_EQ(RootKeyName(static_cast<RootKey>(root)), name);
}

}  // namespace
}  // namespace kelvarion
