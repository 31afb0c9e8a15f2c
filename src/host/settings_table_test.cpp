#include "host/settings_table.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "apache/configuration_generator.h"
#include "config/registry_accessor.h"
#include "errors/exception.h"
#include "host/text.h"
#include "tests/support/test_home.h"

namespace kelvarion::host {
namespace {

class SettingsTableTest : public ::testing::Test {
 protected:
  kelvarion::testing::TestHome home_;
  RegistryValues values_{*home_.machine()->registry,
                         {platform::RootKey::kLocalMachine, kServerKeyPath}};
};

TEST_F(SettingsTableTest, ValuesAreStoredAsTheirSettingSaysOrRefused) {
  const struct {
    const char16_t* name;
    const char16_t* text;
    const char* stored;  // As JSON; null for a text that is refused.
  } rows[] = {
      {u"usessl", u"TRUE", "\"1\""},
      {u"UseSSL", u"yes", nullptr},
      {u"ServerPort", u"80", "\"80\""},
      {u"ServerPort", u"080", "\"80\""},
      {u"ServerPort", u"0", nullptr},
      {u"ServerPort", u"65536", nullptr},
      {u"HttpSvnCacheSize", u"256", "256"},
      {u"HttpSvnCacheSize", u"-1", nullptr},
      {u"EnableAccessLogging", u"1", "1"},
      {u"EnableAccessLogging", u"2", nullptr},
      {u"ServerBindings", u"127.0.0.1,::1", "[\"127.0.0.1\",\"::1\"]"},
      {u"ServerBindings", u"", "[]"},
      {u"ServerBindings", u"127.0.0.1,", "[\"127.0.0.1\"]"},
      {u"ServerBindings", u"127.0.0.1,localhost", nullptr},
      {u"RepositoriesRoot", u"/srv/svn", "\"/srv/svn\""},
      {u"RepositoriesRoot", u"srv", nullptr},
      {u"RepositoriesRoot", u"/a\"b", nullptr},
      {u"RepositoriesURLPrefix", u"", "\"\""},
      {u"RepositoriesURLPrefix", u"/a/b", nullptr},
      {u"CertificateRequestSignatureAlgorithm", u"md5", nullptr},
      {u"ServerName", u"svn.example.org", "\"svn.example.org\""},
      {u"ServerName", u"a\nListen 80", nullptr},
      {u"ServerName", u"host/path", nullptr},
  };
  for (const auto& row : rows) {
    const std::string what = Utf8(row.name) + "=" + Utf8(row.text);
    const Setting& setting = FindSetting(row.name);
    if (row.stored) {
      WriteSetting(values_, setting, row.text);
      EXPECT_EQ(ReadSetting(values_, setting).dump(), row.stored) << what;
    } else {
      const Json before = ReadSetting(values_, setting);
      EXPECT_THROW(WriteSetting(values_, setting, row.text), WMIException) << what;
      EXPECT_EQ(ReadSetting(values_, setting), before) << what;
    }
  }
}

TEST_F(SettingsTableTest, WhatWasNeverSetReadsAsNullAndWhatTheServerStoresIsRead) {
  EXPECT_EQ(ReadSetting(values_, FindSetting(u"WmiProviderLogLevel")), nullptr);
  EXPECT_EQ(ReadSetting(values_, FindSetting(u"UseUPNFormat")), nullptr);
  home_.configuration().SetUseWindowsAuth(true);
  home_.configuration().SetServerPort(true, 9443);
  EXPECT_EQ(ReadSetting(values_, FindSetting(u"UseWindowsAuth")), "1");
  EXPECT_EQ(ReadSetting(values_, FindSetting(u"SSLServerPort")), "9443");
  EXPECT_THROW(FindSetting(u"Nothing"), WMIException);
}

// The server has its own defaults, whoever shows them.
TEST_F(SettingsTableTest, DefaultsThatAreWrittenChangeNothing) {
  const IcRegistryAccessor& settings = home_.configuration();
  const auto meaning = [&] {
    apache::RegenerateApacheConfig(settings);
    return kelvarion::testing::ReadFile(home_.install_folder() + "/conf/httpd.conf") +
           Utf8(settings.GetSelfSignedCertificateSignatureAlgorithm() +
                settings.GetCertificateRequestSignatureAlgorithm()) +
           std::to_string(settings.GetWmiProviderLogLevel());
  };
  std::filesystem::create_directory(home_.install_folder() + "/conf");
  const std::string before = meaning();
  for (std::size_t i = 0; i < kSettingCount; ++i)
    if (kSettings[i].default_text) WriteSetting(values_, kSettings[i], kSettings[i].default_text);
  EXPECT_EQ(meaning(), before);
}

}  // namespace
}  // namespace kelvarion::host
