// The classes of the services and of the server's settings as their clients meet them.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "services/fake_manager_for_test.h"
#include "tests/provider_host/provider_host.h"
#include "tests/support/real_server.h"
#include "tests/support/test_home.h"

namespace kelvarion {
namespace {

using testing::Answer;
using Words = std::vector<std::string>;

const std::string kOrmu = "Kelvarion_OrmuService.Name=\"OrmuSvc\"";
const std::string kSettings = "PS_SvnServerConfiguration";

class ServerHandlersTest : public ::testing::Test {
 protected:
  ServerHandlersTest() {
    for (const char* folder : {"conf", "htdocs", "WebUI", "program"})
      std::filesystem::create_directories(home_.install_folder() + "/" + folder);
  }
  ~ServerHandlersTest() override {
    unsetenv("KELVARION_LIBEXEC");
    home_.machine()->services->Control(u"ormusvc", platform::SERVICE_CONTROL_STOP);
  }
  Answer ChangeStartMode(std::uint32_t mode) {
    return host_.Call(kOrmu, "ChangeStartMode", {"StartMode=" + std::to_string(mode)});
  }
  std::uint32_t Ormu(const char* property) { return host_.Get(kOrmu).out()[property]; }
  // What StartService and StopService answer before the service gets there is a success.
  void ExpectReaches(const char* method, std::uint32_t state) {
    EXPECT_EQ(host_.Call(kOrmu, method).status, S_OK);
    EXPECT_TRUE(testing::Eventually([&] { return Ormu("ServiceState") == state; }));
    EXPECT_EQ(Ormu("ExitCode"), 0u);
  }

  testing::TestHome home_;
  testing::ProviderHost host_{home_.machine()};
};

TEST_F(ServerHandlersTest, TheReplicationServiceRunsAndStopsAsItIsTold) {
  // Stands in for the program: ready once its pid file is written, ended by SIGTERM.
  const std::string folder = home_.install_folder() + "/program";
  testing::WriteFile(folder + "/ormusvc",
                     "#!/bin/sh\ntrap 'exit 0' TERM\necho $$ > \"$2/server/run/ormusvc.pid\"\n"
                     "while :; do sleep 0.05; done\n");
  std::filesystem::permissions(folder + "/ormusvc", std::filesystem::perms::owner_all);
  setenv("KELVARION_LIBEXEC", folder.c_str(), 1);
  ExpectReaches("StartService", platform::SERVICE_RUNNING);
  const std::string first = testing::ReadFile(home_.install_folder() + "/run/ormusvc.pid");
  const Answer moved = host_.Call(kSettings, "Set", {"RepositoriesRoot=" + home_.folder()});
  EXPECT_EQ(moved.status, S_OK);
  ASSERT_EQ(moved.progress.size(), 2u);
  EXPECT_EQ(moved.progress[0].status_description, u"Stopping ORMU service");
  EXPECT_EQ(moved.progress[1].status_description, u"Starting ORMU service");
  EXPECT_NE(testing::ReadFile(home_.install_folder() + "/run/ormusvc.pid"), first);
  EXPECT_EQ(ChangeStartMode(platform::SERVICE_DISABLED).status, S_OK);
  EXPECT_EQ(Ormu("ServiceState"), platform::SERVICE_RUNNING);
  EXPECT_EQ(Ormu("StartMode"), platform::SERVICE_DISABLED);
  ExpectReaches("StopService", platform::SERVICE_STOPPED);
  EXPECT_TRUE(host_.Call(kOrmu, "StartService").said().ends_with("(0x80070422)"));
  EXPECT_EQ(ChangeStartMode(7).status, WBEM_E_FAILED);
  EXPECT_EQ(ChangeStartMode(platform::SERVICE_DEMAND_START).status, S_OK);
}

TEST_F(ServerHandlersTest, TheReplicationServiceIsOneInstanceWithPartners) {
  EXPECT_EQ(host_.List("Kelvarion_OrmuService").objects.size(), 1u);
  const std::string other = "Kelvarion_OrmuService.Name=\"KelvarionServer\"";
  EXPECT_EQ(host_.Get(other).status, WBEM_E_NOT_FOUND);
  EXPECT_EQ(host_.Call(other, "StopService").status, WBEM_E_NOT_FOUND);
  EXPECT_EQ(host_.Call(kOrmu, "Nothing").status, WBEM_E_INVALID_METHOD);
  EXPECT_EQ(host_.Call(kOrmu, "StopService").status, WBEM_E_FAILED);
  const std::string partners = testing::RealServer::Accounts({"S-1-22-1-33"});
  EXPECT_EQ(host_.Call(kOrmu, "SetReplicationPartners", {"Partners:=" + partners}).status, S_OK);
  EXPECT_EQ(host_.Call(kOrmu, "GetReplicationPartners").out()["Partners"][0]["SID"], "S-1-22-1-33");
}

TEST_F(ServerHandlersTest, SettingsComeOutAsTheyWentInAndTheRestartIsTold) {
  auto manager = std::make_unique<services::FakeManager>();
  manager->statuses[u"KelvarionServer"] = {{platform::SERVICE_RUNNING, 0}};
  home_.machine()->services = std::move(manager);
  const host::Json settings = {{"ServerName", "new.example"},
                               {"RepositoriesRoot", home_.folder()},
                               {"RepositoriesURLPrefix", ""},
                               {"ListenPort", 4443},
                               {"AuthenticationMode", 1},
                               {"EnableSSL", true},
                               {"EnableBasicAuthentication", false},
                               {"EnableIntegratedAuthentication", true},
                               {"RedirectFromLegacyWebInterface", false},
                               {"EnableOperationalLogging", true},
                               {"EnableAccessLogging", false},
                               {"ListeningIPAddress", {"All"}}};
  Words words{"PassThru=true"};
  for (const auto& [name, value] : settings.items()) words.push_back(name + ":=" + value.dump());
  const Answer changed = host_.Call(kSettings, "SET", words);
  ASSERT_EQ(changed.status, S_OK);
  ASSERT_EQ(changed.progress.size(), 1u);
  EXPECT_EQ(changed.progress[0].activity, u"Set-SvnServerConfiguration");
  EXPECT_EQ(changed.progress[0].current_operation, std::nullopt);
  EXPECT_EQ(changed.progress[0].status_description, u"Restarting HTTP service");
  EXPECT_EQ(changed.progress[0].percent_complete, -1);
  for (const Answer& answer : {changed, host_.Call(kSettings, "Get")}) {
    const host::Json now = answer.out()["CmdletOutput"];
    for (const auto& [name, value] : settings.items()) EXPECT_EQ(now[name], value) << name;
  }
  const Answer nothing = host_.Call(kSettings, "Set", {"PassThru=true"});
  EXPECT_TRUE(nothing.status == S_OK && nothing.objects.empty() && nothing.progress.empty());
  EXPECT_EQ(host_.List(kSettings).status, WBEM_E_NOT_SUPPORTED);
  EXPECT_EQ(host_.Get(kSettings + "=@").status, WBEM_E_NOT_SUPPORTED);
}

}  // namespace
}  // namespace kelvarion
