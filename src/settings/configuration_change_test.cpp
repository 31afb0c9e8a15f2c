// What a change of many settings leaves behind at each point where it can fail.
#include "settings/configuration_change.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>
#include <functional>
#include <map>
#include <set>

#include "errors/exception.h"
#include "platform/text/encoding.h"
#include "services/fake_manager_for_test.h"
#include "settings/server_settings.h"
#include "tests/support/test_home.h"

namespace kelvarion::settings {
namespace {

using services::FakeManager;
using Names = std::vector<std::u16string>;
using Calls = std::deque<std::u16string>;

class Notes final : public IcConfigurationNotify {
 public:
  void Warning(const std::u16string& text) override { warnings.push_back(text); }
  void ServiceChanging(const std::u16string& what) override { progress.push_back(what); }
  Names warnings;
  Names progress;
};

// A home whose services both run, and what one change made of it.
class Change {
 public:
  Change() : services(*new FakeManager) {
    for (const char* folder : {"conf", "htdocs", "WebUI"})
      std::filesystem::create_directories(home.install_folder() + "/" + folder);
    for (const char16_t* name : {u"KelvarionServer", u"ormusvc"})
      services.statuses[name] = {{platform::SERVICE_RUNNING, 0}};
    home.machine()->services.reset(&services);
  }

  // Every setting, each to something new.
  ConfigurationChange All() const {
    return {u"new.example",
            platform::Utf16ForDisplay(home.folder()),
            u"/new",
            4443,
            {{u"::1"}},
            true,
            1,
            false,
            true,
            false,
            true,
            true};
  }
  // The failure's message; empty for none.
  std::u16string Make(const ConfigurationChange& change) {
    before_ = Values();
    try {
      ChangeConfiguration(home.context(), change, notes, 0);
    } catch (const WMIException& exception) {
      EXPECT_EQ(exception.status(), WBEM_E_INVALID_METHOD_PARAMETERS);
      return u"invalid: " + exception.Message();
    } catch (const Exception& exception) {
      return exception.Message();
    }
    return u"";
  }
  std::set<std::u16string> Stored() const {
    std::set<std::u16string> changed;
    for (const auto& [name, data] : Values())
      if (const auto old = before_.find(name); old == before_.end() || old->second != data)
        changed.insert(name);
    return changed;
  }
  // What the services were asked to do.
  Calls Requests() const {
    Calls requests = services.calls;
    std::erase_if(requests, [](const std::u16string& call) {
      return call.starts_with(u"query") || call.starts_with(u"config");
    });
    return requests;
  }

  void Remove(const char* folder) const {
    std::filesystem::remove_all(home.install_folder() + folder);
  }
  // The store fails whoever writes the value.
  void RefuseToStore(const std::string& name) const {
    sqlite3* database = nullptr;
    sqlite3_open((home.folder() + "/registry.db").c_str(), &database);
    const std::string trigger = "CREATE TRIGGER refuse BEFORE INSERT ON entries WHEN NEW.name = '" +
                                name + "' BEGIN SELECT RAISE(FAIL, 'no'); END";
    EXPECT_EQ(sqlite3_exec(database, trigger.c_str(), nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(database);
  }

  testing::TestHome home;
  FakeManager& services;
  Notes notes;

 private:
  std::map<std::u16string, std::vector<std::uint8_t>> Values() const {
    const platform::KeyPath key{platform::RootKey::kLocalMachine, kServerKeyPath};
    Names names;
    home.machine()->registry->EnumerateValues(key, names);
    std::map<std::u16string, std::vector<std::uint8_t>> values;
    for (const std::u16string& name : names) {
      platform::RegistryValue value;
      home.machine()->registry->Query(key, name, value);
      values[name] = value.data;
    }
    return values;
  }
  std::map<std::u16string, std::vector<std::uint8_t>> before_;
};

TEST(ConfigurationChangeTest, AFailureWhileApplyingKeepsWhatCameBeforeItAndRestartsNothing) {
  const std::vector<std::string> order(
      {"ServerName", "UseSSL", "SSLServerPort", "UseServerBindings", "ServerBindings",
       "RepositoriesRoot", "DoNotAdjustRepositoriesRootPermissions", "RepositoriesURLPrefix",
       "UseWindowsAuth", "DisableWindowsBasic", "EnableWindowsIntegrated", "UseUPNFormat",
       "DisableRedirectionFromLegacyWebInterface", "EnableAccessLogging",
       "EnableOperationalLogging"});
  struct Row {
    std::string what;
    std::size_t stored;  // How many of these.
    std::function<void(Change&)> sabotage;
    std::u16string message;
  };
  std::vector<Row> rows = {
      {"generation", 1, [](Change& it) { it.Remove("/conf"); }, u"Couldn't write Apache"},
      {"grants", 7,
       [](Change& it) { it.services.Fail(u"config KelvarionServer", ERROR_ACCESS_DENIED); },
       u"Cannot query service config"},
      {"start pages", 8, [](Change& it) { it.Remove("/WebUI"); }, u""},
  };
  for (std::size_t i = 0; i < order.size(); ++i) {
    const auto refuse = [name = order[i]](Change& it) { it.RefuseToStore(name); };
    const bool list = order[i] == "ServerBindings";
    rows.push_back({order[i], i, refuse, list ? u"Cannot set registry" : u"Cannot write registry"});
  }
  for (const Row& row : rows) {
    Change it;
    row.sabotage(it);
    const std::u16string message = it.Make(it.All());
    EXPECT_TRUE(message.starts_with(row.message) && !message.empty()) << row.what;
    std::set<std::u16string> expected;
    for (std::size_t i = 0; i < row.stored; ++i)
      expected.insert(platform::Utf16ForDisplay(order[i]));
    EXPECT_EQ(it.Stored(), expected) << row.what;
    EXPECT_EQ(it.Requests(), Calls{}) << row.what;
  }
  Change it;
  it.services.statuses.clear();
  EXPECT_EQ(it.Make(it.All()), u"");
  EXPECT_EQ(it.Stored().size(), order.size());
}

TEST(ConfigurationChangeTest, WhatIsRefusedLeavesEverythingAsItWas) {
  using Given = ConfigurationChange;
  const struct {
    std::function<void(Given&)> spoil;
    const char16_t* message;
  } rows[] = {
      {[](Given& all) { all.server_name = u"a\"b"; }, u"invalid: A server name must not contain"},
      {[](Given& all) { all.repositories_root = u"r"; }, u"invalid: Cannot change 'Repositories"},
      {[](Given& all) { all.repositories_root = u"/no"; }, u"Cannot change 'RepositoriesRoot' "},
      {[](Given& all) { all.repositories_root = u"/etc/passwd"; }, u"Cannot change 'Reposi"},
      {[](Given& all) { all.repositories_root = u"/"; }, u"Repositories path '/' is the root"},
      {[](Given& all) { all.repositories_url_prefix = u"/a/b"; }, u"invalid: Cannot change 'Repos"},
      {[](Given& all) { all.listen_port = 65536; }, u"invalid: 65536 is not a TCP port"},
      {[](Given& all) { all.listening_addresses = {{u"::1 x"}}; }, u"invalid: '::1 x'"},
      {[](Given& all) { all.authentication_mode = 2; }, u"invalid: 2 is not an authentication"},
      {[](Given& all) { all.integrated_authentication = false; }, u"At least one Windows auth"},
      {[](Given& all) {
         all.authentication_mode.reset();
         all.integrated_authentication.reset();  // Off already.
       },
       u"At least one Windows authentication method"},
      {[](Given& all) { all = {}; }, u""},  // Nothing is asked for.
  };
  for (const auto& row : rows) {
    Change it;
    ConfigurationChange change = it.All();
    row.spoil(change);
    const std::u16string message = it.Make(change);
    EXPECT_TRUE(message.starts_with(row.message) && message.empty() == !*row.message)
        << platform::Utf8ForDisplay(message);
    EXPECT_TRUE(it.Stored().empty() && it.Requests().empty()) << platform::Utf8ForDisplay(message);
    EXPECT_FALSE(std::filesystem::exists(it.home.install_folder() + "/conf/httpd.conf"));
  }
}

TEST(ConfigurationChangeTest, ServicesThatRunAreRestartedAndAFailureOfTheirsIsExplained) {
  using States = std::deque<platform::ServiceStatus>;
  constexpr platform::ServiceStatus kUp{platform::SERVICE_RUNNING, 0};
  constexpr platform::ServiceStatus kDown{platform::SERVICE_STOPPED, 0};
  constexpr platform::ServiceStatus kComing{platform::SERVICE_START_PENDING, 0};
  constexpr platform::ServiceStatus kDied{platform::SERVICE_STOPPED, 1067};
  const std::u16string web = u"control KelvarionServer 128";
  const std::u16string stop = u"control ormusvc 1";
  const std::u16string start = u"start ormusvc";
  const struct {
    const char* what;
    States server;  // The first is what the check of the settings sees.
    States ormu;
    Calls requests;  // One progress record each.
    const char16_t* message;
    bool refused = false;  // Whether the last request is.
  } rows[] = {
      {"all stopped", {kDown}, {kDown}, {}, u""},
      {"came up", {kUp, kComing, kUp}, {kDown}, {web}, u""},
      {"fails to come up", {kUp, kComing, kDied}, {kDown}, {}, u""},
      {"both", {kUp}, {kUp, kDown, kUp}, {web, stop, start}, u""},
      {"only replication", {kDown}, {kUp, kDown, kUp}, {stop, start}, u""},
      {"disabled", {kUp}, {kUp}, {web}, u""},
      {"refused", {kUp}, {kUp}, {web}, u"Cannot control service", true},
      {"died", {kUp, kUp, kDied}, {kUp}, {web}, u"The process ended unexpectedly."},
      {"slow", {kUp, kUp, kComing}, {kUp}, {web}, u"Timeout waiting for HTTP service to restart."},
      {"stays", {kUp}, {kUp}, {web, stop}, u"Timeout waiting for ORMU service to stop."},
      {"stays away", {kUp}, {kUp, kDown}, {web, stop, start}, u"Cannot start service", true},
      {"hangs",
       {kUp},
       {kUp, kDown, kComing},
       {web, stop, start},
       u"Timeout waiting for ORMU service to start."},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    Change it;
    it.services.statuses = {{u"KelvarionServer", row.server}, {u"ormusvc", row.ormu}};
    if (row.what == std::string("disabled"))
      it.services.config.start_type = platform::SERVICE_DISABLED;
    if (row.refused) it.services.Fail(row.requests.back(), ERROR_ACCESS_DENIED);
    const std::u16string message = it.Make(it.All());
    EXPECT_TRUE(message.starts_with(row.message)) << platform::Utf8ForDisplay(message);
    EXPECT_EQ(message.empty(), !*row.message);
    EXPECT_EQ(it.Requests(), row.requests);
    EXPECT_EQ(it.notes.progress.size(), row.requests.size());
    EXPECT_EQ(it.notes.warnings.size(), message.empty() ? 0u : 1u);
    EXPECT_EQ(it.home.events().texts.size(), it.notes.warnings.size());
    EXPECT_TRUE(it.Stored().contains(u"EnableOperationalLogging"));
  }
}

// Each step starts from what the one before it left.
TEST(ConfigurationChangeTest, WhatIsNotGivenStays) {
  using Given = ConfigurationChange;
  const struct {
    std::function<void(Given&)> give;
    const char16_t* url;
    bool all_addresses;
    const char16_t* address;
  } steps[] = {
      {[](Given& it) { it.server_name = u"a b"; }, u"http://a b:8080/svn/", true, nullptr},
      {[](Given& it) { it.server_name = u"h"; }, u"http://h:8080/svn/", true, nullptr},
      {[](Given& it) { it.enable_ssl = true; }, u"https://h:8443/svn/", true, nullptr},
      {[](Given& it) { it.listening_addresses = {{u"::1"}}; }, u"https://h:8443/svn/", false,
       u"::1"},
      {[](Given& it) { it.listen_port = 443; }, u"https://h/svn/", false, u"::1"},
      {[](Given& it) { it.enable_ssl = false; }, u"http://h:8080/svn/", false, u"::1"},
      {[](Given& it) { it.listening_addresses = {{u"all"}}; }, u"http://h:8080/svn/", false,
       u"all"},
      {[](Given& it) { it.listening_addresses = {{u"All"}}; }, u"http://h:8080/svn/", true, u"all"},
      {[](Given& it) { it.access_logging = true; }, u"http://h:8080/svn/", true, u"all"},
  };
  Change it;
  for (const auto& step : steps) {
    ConfigurationChange change;
    step.give(change);
    EXPECT_EQ(it.Make(change), u"");
    const ServerSettings now = ReadServerSettings(it.home.context());
    EXPECT_EQ(now.url, step.url);
    EXPECT_EQ(now.listen_all_ip_addresses, step.all_addresses);
    EXPECT_EQ(now.listen_ip_addresses, step.address ? Names{step.address} : Names{});
  }
  ASSERT_EQ(it.notes.warnings.size(), 1u);
  EXPECT_TRUE(it.notes.warnings[0].starts_with(u"The new server name 'a b' contains one or more"));
  EXPECT_EQ(it.Stored(),
            (std::set<std::u16string>{u"EnableAccessLogging", u"EnableOperationalLogging"}));
}

}  // namespace
}  // namespace kelvarion::settings
