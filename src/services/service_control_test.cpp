#include <gtest/gtest.h>

#include <functional>

#include "errors/exception.h"
#include "services/fake_manager_for_test.h"
#include "services/ormu_service.h"
#include "services/server_service.h"
#include "tests/support/failure.h"
#include "tests/support/test_home.h"

namespace kelvarion::services {
namespace {

using platform::ServiceStatus;

TEST(ServiceControlTest, EveryOperationDoesOneThingAndTellsOfItsFailure) {
  FakeManager manager;
  const std::pair<std::function<void()>, std::u16string> rows[] = {
      {[&] { QueryServerStatus(manager); }, u"query KelvarionServer"},
      {[&] { StartServer(manager); }, u"start KelvarionServer"},
      {[&] { StopServer(manager); }, u"control KelvarionServer 1"},
      {[&] { RestartServer(manager); }, u"control KelvarionServer 128"},
      {[&] { WaitForServerState(manager, 1, 0); }, u"query KelvarionServer"},
      {[&] { QueryOrmuStatus(manager); }, u"query ormusvc"},
      {[&] { QueryOrmuConfig(manager); }, u"config ormusvc"},
      {[&] { StartOrmu(manager); }, u"start ormusvc"},
      {[&] { StopOrmu(manager); }, u"control ormusvc 1"},
      {[&] { SetOrmuStartMode(manager, 4); }, u"type ormusvc 4"},
      {[&] { WaitForOrmuState(manager, 1, 0); }, u"query ormusvc"},
  };
  for (const auto& [operation, call] : rows) {
    manager.calls.clear();
    manager.Fail(u"", ERROR_SUCCESS);
    operation();
    EXPECT_EQ(manager.calls, (std::deque<std::u16string>{call})) << "one call each";
    const auto message_of = [&, &operation = operation](Win32Error error) {
      manager.Fail(u"", error);
      return testing::MessageOf<Win32Exception>(operation);
    };
    EXPECT_TRUE(message_of(ERROR_SERVICE_ALREADY_RUNNING).ends_with(u"(0x80070420)"));
    const std::u16string service =
        call.find(u"ormusvc") == call.npos ? kServerServiceName : kOrmuServiceName;
    EXPECT_TRUE(message_of(ERROR_SERVICE_DOES_NOT_EXIST)
                    .starts_with(u"Cannot open service '" + service + u"'"));
    EXPECT_TRUE(
        message_of(RPC_S_SERVER_UNAVAILABLE).starts_with(u"Cannot connect to service manager"));
  }
}

TEST(ServiceControlTest, AWaitEndsWithTheStateTheTimeOrTheServicesFailure) {
  const struct {
    const char* what;
    std::deque<ServiceStatus> statuses;
    std::uint32_t timeout_ms;
    bool reached;
    HRESULT failure;
    std::size_t most_calls;
  } rows[] = {
      {"there already", {{4, 0}}, 30000, true, S_OK, 1},
      {"after a while", {{2, 0}, {4, 0}}, 30000, true, S_OK, 2},
      {"never", {{2, 0}}, 0, false, S_OK, 2},
      {"died", {{2, 0}, {1, 1067}}, 30000, false, Code(0x8007042B), 2},
      {"in the wanted state, but failed", {{4, 1066}}, 0, false, Code(0x8007042A), 1},
      {"an HRESULT of its own", {{1, 0x80004005}}, 0, false, E_FAIL, 1},
  };
  for (const auto& row : rows) {
    FakeManager manager;
    manager.statuses[kServerServiceName] = row.statuses;
    try {
      EXPECT_EQ(WaitForServerState(manager, 4, row.timeout_ms), row.reached) << row.what;
      EXPECT_EQ(row.failure, S_OK) << row.what;
    } catch (const Win32Exception& thrown) {
      EXPECT_EQ(thrown.hresult(), row.failure) << row.what;
      EXPECT_EQ(thrown.text(), u"") << row.what;
    }
    EXPECT_LE(manager.calls.size(), row.most_calls) << row.what;
  }
}

TEST(ServiceControlTest, TheServiceAccountIsMappedToItsSid) {
  const testing::TestHome home;
  FakeManager manager;
  const auto sid = [&](const char16_t* account) {
    manager.config.start_name = account;
    return GetServerServiceAccountSid(manager, *home.machine()->security);
  };
  EXPECT_EQ(sid(u""), u"S-1-5-18");
  EXPECT_EQ(sid(u"localsystem"), u"S-1-5-18");
  EXPECT_EQ(sid(u"NT AUTHORITY\\networkservice"), u"S-1-5-20");
  EXPECT_EQ(sid(u".\\www-data"), u"S-1-22-1-33");
  EXPECT_EQ(testing::MessageOf([&] { sid(u".\\nobody-there"); }),
            u"Cannot map SID for service account 'nobody-there'");
}

}  // namespace
}  // namespace kelvarion::services
