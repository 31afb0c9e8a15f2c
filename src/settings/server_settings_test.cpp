#include "settings/server_settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <filesystem>
#include <functional>

#include "errors/exception.h"
#include "platform/text/encoding.h"
#include "services/fake_manager_for_test.h"
#include "tests/support/test_home.h"
#include "util/computer.h"

namespace kelvarion::settings {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

// A port of this machine that somebody listens on.
class ListeningPort {
 public:
  ListeningPort() : socket_(socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    EXPECT_EQ(bind(socket_, reinterpret_cast<sockaddr*>(&address), size), 0);
    EXPECT_EQ(listen(socket_, 1), 0);
    EXPECT_EQ(getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &size), 0);
    number = ntohs(address.sin_port);
  }
  ~ListeningPort() { close(socket_); }
  std::uint32_t number = 0;

 private:
  int socket_;
};

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
  bool Generated() { return std::filesystem::exists(home_.install_folder() + "/conf/httpd.conf"); }
  testing::TestHome home_;
};

TEST_F(ServerSettingsTest, AFreshServerReadsItsDefaults) {
  const ServerSettings read = Read();
  const std::u16string host = util::GetComputerDnsName();
  EXPECT_EQ(read.service_state, platform::SERVICE_STOPPED);
  EXPECT_EQ(read.exit_code, 1067u);
  EXPECT_EQ(read.url, u"http://" + host + u":8080/svn/");
  EXPECT_EQ(read.repositories_url_prefix, u"/svn");
  EXPECT_EQ(read.server_name, host);
  EXPECT_FALSE(read.use_custom_server_name);
  EXPECT_EQ(read.unsecure_port, 8080u);
  EXPECT_EQ(read.secure_port, 8443u);
  EXPECT_EQ(read.auth_type, 0u);
  EXPECT_TRUE(read.listen_all_ip_addresses);
  EXPECT_TRUE(read.adjust_repositories_root_permissions);
  EXPECT_TRUE(read.auth_windows_basic);
  EXPECT_TRUE(read.redirect_from_legacy_web_interface);
  EXPECT_FALSE(read.access_logging_enabled || read.operational_logging_enabled);
}

TEST_F(ServerSettingsTest, EveryChangeIsStoredAndGenerated) {
  SetServerName(context(), u"svn example");
  EXPECT_TRUE(Read().use_custom_server_name);
  EXPECT_EQ(Read().url, u"http://svn example:8080/svn/");
  SetServerName(context(), u"");
  EXPECT_FALSE(Read().use_custom_server_name);

  SetNetworkOptions(context(), {443, true, {{u"127.0.0.1"}}}, CheckPort::kYes);
  EXPECT_EQ(Read().url, u"https://" + util::GetComputerDnsName() + u"/svn/");
  EXPECT_EQ(Read().unsecure_port, 8080u);
  EXPECT_THAT(Read().listen_ip_addresses, ElementsAre(u"127.0.0.1"));
  EXPECT_THAT(Config(), HasSubstr("Listen \"127.0.0.1:443\"\r\n"));
  SetNetworkOptions(context(), {444, true, std::nullopt}, CheckPort::kNo);
  EXPECT_TRUE(Read().listen_all_ip_addresses);
  EXPECT_THAT(Read().listen_ip_addresses, ElementsAre(u"127.0.0.1"));

  SetAuthenticationOptions(context(), {1, false, true, true});
  EXPECT_EQ(Read().auth_type, 1u);
  EXPECT_FALSE(Read().auth_windows_basic);
  EXPECT_TRUE(Read().auth_windows_integrated && Read().use_upn_format);
  EXPECT_THAT(Config(), HasSubstr("AuthnKelvarionUPN On"));
  SetAuthenticationOptions(context(), {2, true, false, false});
  EXPECT_EQ(Read().auth_type, 0u);

  SetLoggingOptions(context(), true, false);
  EXPECT_TRUE(Read().access_logging_enabled && !Read().operational_logging_enabled);
  EXPECT_THAT(Config(), HasSubstr("LogKelvarionAccess on"));
  SetWebInterfaceOptions(context(), false);
  EXPECT_FALSE(Read().redirect_from_legacy_web_interface);
  EXPECT_THAT(Config(), HasSubstr("svnindex.xsl"));

  SetRepositoriesUrlPrefix(context(), u"/repos");
  EXPECT_THAT(Config(), HasSubstr("<Location \"/repos/\">"));
  EXPECT_THAT(testing::ReadFile(home_.install_folder() + "/htdocs/index.html"),
              HasSubstr("\"/repos/\""));
}

TEST_F(ServerSettingsTest, WhatCannotBeServedIsRefusedBeforeAnythingIsStored) {
  const ListeningPort taken;
  const std::function<void()> changes[] = {
      [&] { SetServerName(context(), u"a\nb"); },
      [&] { SetServerName(context(), u"host/path"); },
      [&] { SetServerName(context(), u"a\"b"); },
      [&] {
        SetNetworkOptions(context(), {0, true, std::nullopt}, CheckPort::kNo);
      },
      [&] {
        SetNetworkOptions(context(), {65536, true, std::nullopt}, CheckPort::kNo);
      },
      [&] {
        SetNetworkOptions(context(), {443, true, {{u"1.2.3.4\n"}}}, CheckPort::kNo);
      },
      [&] {
        SetNetworkOptions(context(), {443, true, {{u"::1", u""}}}, CheckPort::kNo);
      },
      [&] {
        SetNetworkOptions(context(), {taken.number, true, std::nullopt}, CheckPort::kYes);
      },
      [&] { SetRepositoriesUrlPrefix(context(), u"/a/b"); },
  };
  for (const auto& change : changes) EXPECT_THROW(change(), Exception);
  EXPECT_EQ(Read().custom_server_name, u"");
  EXPECT_EQ(Read().repositories_url_prefix, u"/svn");
  EXPECT_FALSE(Read().use_secure_connection);
  EXPECT_FALSE(Generated());
}

// The server's own port is taken by the server, which is no reason to refuse it.
TEST_F(ServerSettingsTest, ThePortIsCheckedUnlessTheServerHasItOrAddressesAreNamed) {
  const ListeningPort taken;
  const NetworkOptions options{taken.number, false, std::nullopt};
  try {
    SetNetworkOptions(context(), options, CheckPort::kYes);
    ADD_FAILURE();
  } catch (const SimpleException& exception) {
    EXPECT_EQ(exception.Message(),
              u"The specified TCP port is occupied by another service. Please stop that service or "
              u"use another port.");
  }
  SetNetworkOptions(context(), {taken.number, false, {{u"127.0.0.2"}}}, CheckPort::kYes);
  EXPECT_EQ(Read().unsecure_port, taken.number);
  // The setting now names the port, but the server does not run.
  EXPECT_THROW(SetNetworkOptions(context(), options, CheckPort::kYes), SimpleException);
  SetService({platform::SERVICE_RUNNING, 0});
  SetNetworkOptions(context(), options, CheckPort::kYes);
  EXPECT_TRUE(Read().listen_all_ip_addresses);
}

}  // namespace
}  // namespace kelvarion::settings
