// The classes of the services and of the server's settings as their clients meet them.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <thread>

#include "platform/text/encoding.h"
#include "services/fake_manager_for_test.h"
#include "tests/provider_host/provider_host.h"
#include "tests/support/test_home.h"

namespace kelvarion {
namespace {

using testing::Answer;
using Strings = std::vector<std::u16string>;
using Number = Property<std::uint32_t>;

const std::u16string kOrmu = u"Kelvarion_OrmuService.Name=\"OrmuSvc\"";
const std::u16string kSettings = u"PS_SvnServerConfiguration";

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
    return host_.Call(kOrmu, u"ChangeStartMode",
                      [&](WMIObject& in) { in.Set(Number{u"StartMode"}, mode); });
  }
  std::uint32_t Ormu(const char16_t* property) {
    return host_.Get(kOrmu).object().Get(Number{property});
  }
  // What StartService and StopService answer before the service gets there is a success.
  void ExpectReaches(const char16_t* method, std::uint32_t state) {
    EXPECT_EQ(host_.Call(kOrmu, method).status, S_OK);
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (Ormu(u"ServiceState") != state && std::chrono::steady_clock::now() < end)
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_EQ(Ormu(u"ServiceState"), state);
    EXPECT_EQ(Ormu(u"ExitCode"), 0u);
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
  ExpectReaches(u"StartService", platform::SERVICE_RUNNING);
  const std::string first = testing::ReadFile(home_.install_folder() + "/run/ormusvc.pid");
  const Answer moved = host_.Call(kSettings, u"Set", [&](WMIObject& in) {
    in.Set(Property<std::u16string>{u"RepositoriesRoot"},
           platform::Utf16ForDisplay(home_.folder()));
  });
  EXPECT_EQ(moved.status, S_OK);
  ASSERT_EQ(moved.progress.size(), 2u);
  EXPECT_EQ(moved.progress[0].status_description, u"Stopping ORMU service");
  EXPECT_EQ(moved.progress[1].status_description, u"Starting ORMU service");
  EXPECT_NE(testing::ReadFile(home_.install_folder() + "/run/ormusvc.pid"), first);
  EXPECT_EQ(ChangeStartMode(platform::SERVICE_DISABLED).status, S_OK);
  EXPECT_EQ(Ormu(u"ServiceState"), platform::SERVICE_RUNNING);
  EXPECT_EQ(Ormu(u"StartMode"), platform::SERVICE_DISABLED);
  ExpectReaches(u"StopService", platform::SERVICE_STOPPED);
  EXPECT_TRUE(host_.Call(kOrmu, u"StartService").Message().ends_with(u"(0x80070422)"));
  EXPECT_EQ(ChangeStartMode(7).status, WBEM_E_FAILED);
  EXPECT_EQ(ChangeStartMode(platform::SERVICE_DEMAND_START).status, S_OK);
}

TEST_F(ServerHandlersTest, TheReplicationServiceIsOneInstanceWithPartners) {
  EXPECT_EQ(host_.Enumerate(u"Kelvarion_OrmuService").objects.size(), 1u);
  const std::u16string other = u"Kelvarion_OrmuService.Name=\"KelvarionServer\"";
  EXPECT_EQ(host_.Get(other).status, WBEM_E_NOT_FOUND);
  EXPECT_EQ(host_.Call(other, u"StopService").status, WBEM_E_NOT_FOUND);
  EXPECT_EQ(host_.Call(kOrmu, u"Nothing").status, WBEM_E_INVALID_METHOD);
  EXPECT_EQ(host_.Call(kOrmu, u"StopService").status, WBEM_E_FAILED);
  const Property<std::u16string> sid{u"SID"};
  const Property<std::vector<WMIObject>> partners{u"Partners"};
  WMIObject partner = host_.Spawn(u"Kelvarion_WindowsAccount");
  partner.Set(sid, u"S-1-22-1-33");
  EXPECT_EQ(host_
                .Call(kOrmu, u"SetReplicationPartners",
                      [&](WMIObject& in) { in.Set(partners, {partner}); })
                .status,
            S_OK);
  const auto read = host_.Call(kOrmu, u"GetReplicationPartners").object().Get(partners);
  ASSERT_EQ(read.size(), 1u);
  EXPECT_EQ(read[0].Get(sid), u"S-1-22-1-33");
}

TEST_F(ServerHandlersTest, SettingsComeOutAsTheyWentInAndTheRestartIsTold) {
  auto manager = std::make_unique<services::FakeManager>();
  manager->statuses[u"KelvarionServer"] = {{platform::SERVICE_RUNNING, 0}};
  home_.machine()->services = std::move(manager);
  const std::u16string root = platform::Utf16ForDisplay(home_.folder());
  const std::pair<const char16_t*, std::u16string> texts[] = {{u"ServerName", u"new.example"},
                                                              {u"RepositoriesRoot", root},
                                                              {u"RepositoriesURLPrefix", u""}};
  const std::pair<const char16_t*, std::uint32_t> numbers[] = {{u"ListenPort", 4443},
                                                               {u"AuthenticationMode", 1}};
  const std::pair<const char16_t*, bool> flags[] = {{u"EnableSSL", true},
                                                    {u"EnableBasicAuthentication", false},
                                                    {u"EnableIntegratedAuthentication", true},
                                                    {u"RedirectFromLegacyWebInterface", false},
                                                    {u"EnableOperationalLogging", true},
                                                    {u"EnableAccessLogging", false}};
  const Property<Strings> addresses{u"ListeningIPAddress"};
  const auto set = [&](WMIObject& in) {
    for (const auto& [name, value] : texts) in.Set(Property<std::u16string>{name}, value);
    for (const auto& [name, value] : numbers) in.Set(Number{name}, value);
    for (const auto& [name, value] : flags) in.Set(Property<bool>{name}, value);
    in.Set(addresses, {u"All"});
    in.Set(Property<bool>{u"PassThru"}, true);
  };
  const Answer changed = host_.Call(kSettings, u"SET", set);
  ASSERT_EQ(changed.status, S_OK);
  ASSERT_EQ(changed.progress.size(), 1u);
  EXPECT_EQ(changed.progress[0].activity, u"Set-SvnServerConfiguration");
  EXPECT_EQ(changed.progress[0].current_operation, std::nullopt);
  EXPECT_EQ(changed.progress[0].status_description, u"Restarting HTTP service");
  EXPECT_EQ(changed.progress[0].percent_complete, -1);
  for (const Answer& answer : {changed, host_.Call(kSettings, u"Get")}) {
    ASSERT_EQ(answer.objects.size(), 1u);
    const auto now = answer.object().Get(Property<WMIObject>{u"CmdletOutput"});
    for (const auto& [name, value] : texts)
      EXPECT_EQ(now.Get(Property<std::u16string>{name}), value);
    for (const auto& [name, value] : numbers) EXPECT_EQ(now.Get(Number{name}), value);
    for (const auto& [name, value] : flags) EXPECT_EQ(now.Get(Property<bool>{name}), value);
    EXPECT_EQ(now.Get(addresses), (Strings{u"All"}));
  }
  const Answer nothing = host_.Call(
      kSettings, u"Set", [](WMIObject& in) { in.Set(Property<bool>{u"PassThru"}, true); });
  EXPECT_TRUE(nothing.status == S_OK && nothing.objects.empty() && nothing.progress.empty());
  EXPECT_EQ(host_.Enumerate(kSettings).status, WBEM_E_NOT_SUPPORTED);
  EXPECT_EQ(host_.Get(kSettings + u"=@").status, WBEM_E_NOT_SUPPORTED);
}

}  // namespace
}  // namespace kelvarion
