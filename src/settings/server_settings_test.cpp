#include "settings/server_settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "errors/exception.h"
#include "services/fake_manager_for_test.h"
#include "tests/support/ports.h"
#include "tests/support/test_home.h"
#include "util/computer.h"

namespace kelvarion::settings {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

class ServerSettingsTest : public ::testing::Test {
 protected:
  ServerSettingsTest() {
    for (const char* folder : {"/conf", "/htdocs", "/WebUI"})
      std::filesystem::create_directories(home_.install_folder() + folder);
    SetService({platform::SERVICE_STOPPED, 1067});
  }
  void SetService(platform::ServiceStatus status) {
    auto manager = std::make_unique<services::FakeManager>();
    manager->statuses[u"KelvarionServer"] = {status};
    home_.machine()->services = std::move(manager);
  }
  const ServerContext& context() { return home_.context(); }
  ServerSettings Read() { return ReadServerSettings(context()); }
  std::string Config() { return testing::ReadFile(home_.install_folder() + "/conf/httpd.conf"); }
  testing::TestHome home_;
};

TEST_F(ServerSettingsTest, EveryChangeIsStoredAndGenerated) {
  const std::u16string host = util::GetComputerDnsName();
  EXPECT_EQ(Read().service_state, platform::SERVICE_STOPPED);
  EXPECT_EQ(Read().exit_code, 1067u);
  SetServerName(context(), u"svn example");
  EXPECT_TRUE(Read().use_custom_server_name);
  EXPECT_EQ(Read().url, u"http://svn example:8080/svn/");
  SetServerName(context(), u"");
  EXPECT_FALSE(Read().use_custom_server_name);
  EXPECT_EQ(Read().server_name, host);

  SetNetworkOptions(context(), {443, true, {{u"127.0.0.1"}}}, CheckPort::kYes);
  EXPECT_EQ(Read().url, u"https://" + host + u"/svn/");
  EXPECT_EQ(Read().unsecure_port, 8080u);
  EXPECT_THAT(Config(), HasSubstr("Listen \"127.0.0.1:443\"\r\n"));
  SetNetworkOptions(context(), {444, true, std::nullopt}, CheckPort::kNo);
  EXPECT_TRUE(Read().listen_all_ip_addresses);
  EXPECT_THAT(Read().listen_ip_addresses, ElementsAre(u"127.0.0.1"));

  SetAuthenticationOptions(context(), {1, false, true, true});
  EXPECT_EQ(Read().auth_type, 1u);
  EXPECT_FALSE(Read().auth_windows_basic);
  EXPECT_TRUE(Read().auth_windows_integrated && Read().use_upn_format);
  SetAuthenticationOptions(context(), {2, true, false, false});
  EXPECT_EQ(Read().auth_type, 0u);

  SetLoggingOptions(context(), true, false);
  EXPECT_TRUE(Read().access_logging_enabled && !Read().operational_logging_enabled);
  SetWebInterfaceOptions(context(), false);
  EXPECT_FALSE(Read().redirect_from_legacy_web_interface);
  EXPECT_THAT(Config(), HasSubstr("LogKelvarionAccess on"));
  EXPECT_THAT(Config(), HasSubstr("svnindex.xsl"));

  SetRepositoriesUrlPrefix(context(), u"/repos");
  EXPECT_THAT(Config(), HasSubstr("<Location \"/repos/\">"));
  EXPECT_THAT(testing::ReadFile(home_.install_folder() + "/htdocs/index.html"),
              HasSubstr("\"/repos/\""));
}

TEST_F(ServerSettingsTest, WhatCannotBeServedIsRefusedBeforeAnythingIsStored) {
  const NetworkOptions networks[] = {
      {0, true, std::nullopt}, {65536, true, std::nullopt}, {443, true, {{u"::1", u"1.2.3.4\n"}}}};
  for (const NetworkOptions& options : networks)
    EXPECT_THROW(SetNetworkOptions(context(), options, CheckPort::kNo), Exception);
  for (const char16_t* name : {u"a\nb", u"host/path", u"a\"b"})
    EXPECT_THROW(SetServerName(context(), name), Exception);
  EXPECT_THROW(SetRepositoriesUrlPrefix(context(), u"/a/b"), Exception);
  EXPECT_EQ(Read().custom_server_name, u"");
  EXPECT_EQ(Read().repositories_url_prefix, u"/svn");
  EXPECT_FALSE(Read().use_secure_connection);
  EXPECT_FALSE(std::filesystem::exists(home_.install_folder() + "/conf/httpd.conf"));
}

// The server's own port is taken by the server, which is no reason to refuse it.
TEST_F(ServerSettingsTest, ThePortIsCheckedUnlessTheServerHasItOrAddressesAreNamed) {
  const testing::HeldPort taken;
  const NetworkOptions options{taken.port, false, std::nullopt};
  EXPECT_THROW(SetNetworkOptions(context(), options, CheckPort::kYes), SimpleException);
  EXPECT_EQ(Read().unsecure_port, 8080u);
  SetNetworkOptions(context(), {taken.port, false, {{u"127.0.0.2"}}}, CheckPort::kYes);
  EXPECT_EQ(Read().unsecure_port, taken.port);
  // The setting now names the port, but the server does not run.
  EXPECT_THROW(SetNetworkOptions(context(), options, CheckPort::kYes), SimpleException);
  SetService({platform::SERVICE_RUNNING, 0});
  SetNetworkOptions(context(), options, CheckPort::kYes);
  EXPECT_TRUE(Read().listen_all_ip_addresses);
}

}  // namespace
}  // namespace kelvarion::settings
