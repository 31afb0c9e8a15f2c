#include "apache/configuration_generator.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <thread>

#include "errors/exception.h"
#include "platform/text/encoding.h"
#include "tests/support/eventually.h"
#include "tests/support/failure.h"
#include "tests/support/file_locks.h"
#include "tests/support/test_home.h"
#include "util/computer.h"

namespace kelvarion::apache {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using testing::ReadFile;
using ::testing::StartsWith;
using testing::WriteFile;

class GeneratedConfigTest : public ::testing::Test {
 protected:
  GeneratedConfigTest() {
    for (const char* folder : {"/conf", "/htdocs", "/WebUI"})
      std::filesystem::create_directories(home_.install_folder() + folder);
  }

  IcRegistryAccessor& store() { return home_.configuration(); }
  std::string file() const { return home_.install_folder() + "/conf/httpd.conf"; }
  std::string Generate() {
    RegenerateApacheConfig(store());
    return ReadFile(file());
  }
  // Why it cannot be generated.
  template <class Thrown>
  std::string MessageOf() {
    return platform::Utf8ForDisplay(
        testing::MessageOf<Thrown>([this] { RegenerateApacheConfig(store()); }));
  }
  // A file of testdata with this home's places filled in, its lines ended as they are generated.
  std::string Expected(const std::string& name) const {
    std::string text = ReadFile(KELVARION_SOURCE_DIR "/src/apache/testdata/" + name);
    Replace(text, "@INSTALL@", home_.install_folder());
    Replace(text, "@ROOT@", home_.root());
    Replace(text, "@HOST@", platform::Utf8ForDisplay(util::GetComputerDnsName()));
    Replace(text, "\n", "\r\n");
    return text;
  }
  static void Replace(std::string& text, std::string_view what, std::string_view with) {
    for (std::size_t at = 0; (at = text.find(what, at)) != text.npos; at += with.size())
      text.replace(at, what.size(), with);
  }

  testing::TestHome home_;
};

TEST_F(GeneratedConfigTest, IsByteForByteWhatWasAgreedForSubversionUsersOverHttp) {
  EXPECT_EQ(Generate(), Expected("subversion.conf"));
}

TEST_F(GeneratedConfigTest, IsByteForByteWhatWasAgreedForWindowsAccountsOverHttps) {
  store().SetUseWindowsAuth(true);
  store().SetUseSSL(true);
  store().SetUseServerBindings(true);
  store().SetServerBindings({u"127.0.0.1", u"::1"});
  store().SetRepositoriesURLPrefix(u"");
  store().SetEnableAccessLogging(true);
  store().SetEnableOperationalLogging(true);
  store().SetRedirectFromLegacyWebInterface(false);
  EXPECT_EQ(Generate(), Expected("windows.conf"));
}

TEST_F(GeneratedConfigTest, EachSettingShowsInItsOwnLines) {
  const struct {
    const char* what;
    std::function<void(IcRegistryAccessor&)> change;
    std::string present;
    std::string absent;
  } rows[] = {
      {"no bindings", [](auto& s) { s.SetUseServerBindings(true); }, "SendBufferSize",
       "\r\nListen"},
      {"the other log", [](auto& s) { s.SetEnableOperationalLogging(true); },
       "LogKelvarionAccess off\r\nLogKelvarionOperational on\r\n", "Access on"},
      {"Windows flags",
       [](auto& s) {
         s.SetUseWindowsAuth(true);
         s.SetWindowsBasicEnabled(false);
         s.SetEnableWindowsIntegrated(true);
         s.SetUseUPNFormat(true);
       },
       "  AuthnKelvarionBasic off\r\n  AuthnKelvarionIntegrated on\r\n  AuthnKelvarionUPN On\r\n",
       "AuthUserFile"},
      {"separators", [](auto& s) { s.SetRepositoriesRoot(u"C:\\Repos\\"); },
       "  AuthUserFile \"C:/Repos/htpasswd\"\r\n", "\"C:\\"},
      {"letters", [](auto& s) { s.SetRepositoriesRoot(u"/srv/Bl\u00F6cke"); },
       "  SVNParentPath \"/srv/Bl\xC3\xB6"
       "cke\"\r\n",
       "\xEF\xBF\xBD"},
      {"a prefix set by hand", [](auto& s) { s.SetRepositoriesURLPrefix(u"/a/b/"); },
       "<Location \"/a/b/\">\r\n", "/a/b//"},
  };
  for (const auto& row : rows) {
    const testing::TestHome fresh;
    std::filesystem::create_directories(fresh.install_folder() + "/conf");
    row.change(fresh.configuration());
    RegenerateApacheConfig(fresh.configuration());
    const std::string text = ReadFile(fresh.install_folder() + "/conf/httpd.conf");
    EXPECT_THAT(text, HasSubstr(row.present)) << row.what;
    EXPECT_THAT(text, Not(HasSubstr(row.absent))) << row.what;
  }
}

TEST_F(GeneratedConfigTest, ASettingThatWouldBreakTheFileLeavesItAsItWas) {
  const std::string before = Generate();
  const struct {
    std::string setting;
    std::function<void(IcRegistryAccessor&)> breaks;
    std::function<void(IcRegistryAccessor&)> heals;
  } rows[] = {
      {"RepositoriesRoot", [](auto& s) { s.SetRepositoriesRoot(u"/srv\"\nInclude /tmp/x\n"); },
       [this](auto& s) { s.SetRepositoriesRoot(platform::Utf16ForDisplay(home_.root())); }},
      {"RepositoriesURLPrefix", [](auto& s) { s.SetRepositoriesURLPrefix(u"/a\r\nDAV off"); },
       [](auto& s) { s.SetRepositoriesURLPrefix(u"/svn"); }},
      {"ServerBindings",
       [](auto& s) {
         s.SetUseServerBindings(true);
         s.SetServerBindings({u"127.0.0.1", u"::1\" http"});
       },
       [](auto& s) { s.SetUseServerBindings(false); }},
      {"ServerPort", [](auto& s) { s.SetServerPort(false, 65536); },
       [](auto& s) { s.SetServerPort(false, 8080); }},
  };
  for (const auto& row : rows) {
    row.breaks(store());
    EXPECT_THAT(MessageOf<SimpleException>(), HasSubstr("'" + row.setting + "'"));
    EXPECT_EQ(ReadFile(file()), before) << row.setting;
    EXPECT_FALSE(std::filesystem::exists(file() + ".tmp")) << row.setting;
    row.heals(store());
    EXPECT_EQ(Generate(), before) << row.setting;
  }
}

TEST_F(GeneratedConfigTest, FailuresOfTheDiskAreNamed) {
  const std::string location = home_.install_folder() + "/conf/replication.conf";
  std::filesystem::create_directories(location + "/in the way");
  std::filesystem::create_directories(home_.root() + "/master");
  WriteFile(home_.root() + "/master/ormu.conf", "role = master\nsuspended = no\n");
  EXPECT_THAT(MessageOf<Win32Exception>(),
              StartsWith("Cannot rename file '" + location + ".tmp' to '" + location + "'"));
  EXPECT_FALSE(std::filesystem::exists(file())) << "the two belong together";
  std::filesystem::remove_all(home_.install_folder() + "/conf");
  EXPECT_THAT(MessageOf<Win32Exception>(), StartsWith("Couldn't write Apache configuration file"));
}

// Or the last one to generate would put back what it had read before.
TEST_F(GeneratedConfigTest, WhoeverWaitedGeneratesFromWhatWasStoredMeanwhile) {
  Generate();
  auto lock = std::make_unique<ConfigurationLock>(store());
  std::thread writer([this] { RegenerateApacheConfig(store()); });
  EXPECT_TRUE(testing::Eventually([this] { return testing::IsWaitedFor(file() + ".tmp"); }));
  store().SetServerPort(false, 10001);
  lock.reset();
  writer.join();
  EXPECT_THAT(ReadFile(file()), HasSubstr("Listen \"10001\"\r\n"));
}

TEST_F(GeneratedConfigTest, StartPagesNameThePrefixWhereverTheyLink) {
  store().SetRepositoriesURLPrefix(u"/our-repos");
  RegenerateStartPages(store());
  const std::string web = ReadFile(home_.install_folder() + "/WebUI/index.html");
  EXPECT_THAT(web, StartsWith("\xEF\xBB\xBF<!DOCTYPE html>\r\n"));
  EXPECT_THAT(web, HasSubstr("startSvnWebClient(\"/our-repos/\")"));
  const std::string root = ReadFile(home_.install_folder() + "/htdocs/index.html");
  EXPECT_THAT(web + root, Not(HasSubstr("${")));
}

}  // namespace
}  // namespace kelvarion::apache
