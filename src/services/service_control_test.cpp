#include <gtest/gtest.h>

#include <functional>

#include "errors/exception.h"
#include "services/fake_manager_for_test.h"
#include "services/ormu_service.h"
#include "services/server_service.h"

namespace kelvarion::services {
namespace {

using platform::ServiceStatus;

class FakeAuthority : public platform::SecurityAuthority {
 public:
  Win32Error LookupAccountName(const std::u16string& name, std::u16string& sid) const override {
    if (name != u"www-data") return ERROR_NONE_MAPPED;
    sid = u"S-1-22-1-33";
    return ERROR_SUCCESS;
  }
  Win32Error NormalizeSid(const std::u16string&, std::u16string&) const override { return 50; }
  Win32Error LookupAccountSid(const std::u16string&, platform::AccountName&) const override {
    return 50;
  }
  Win32Error GetAccountSids(const std::u16string&, std::vector<std::u16string>&) const override {
    return 50;
  }
  Win32Error GetGroupMembers(const std::u16string&, std::vector<std::u16string>&) const override {
    return 50;
  }
  Win32Error SetGroupMembers(const std::u16string&, const std::vector<std::u16string>&) override {
    return 50;
  }
  Win32Error CreateGroup(const std::u16string&) override { return 50; }
  Win32Error ReadFolderAccess(const std::u16string&,
                              std::vector<platform::AccessGrant>&) const override {
    return 50;
  }
  Win32Error WriteFolderAccess(const std::u16string&, const std::vector<platform::AccessGrant>&,
                               bool) override {
    return 50;
  }
};

TEST(ServiceControlTest, EveryOperationDoesOneThingAndNamesItsFailure) {
  FakeManager manager;
  const struct {
    std::function<void()> operation;
    std::u16string call;
    std::u16string message;
  } rows[] = {
      {[&] { QueryServerStatus(manager); }, u"query KelvarionServer",
       u"Cannot query service status"},
      {[&] { StartServer(manager); }, u"start KelvarionServer", u"Cannot start service"},
      {[&] { StopServer(manager); }, u"control KelvarionServer 1", u"Cannot stop service"},
      {[&] { RestartServer(manager); }, u"control KelvarionServer 128", u"Cannot control service"},
      {[&] { WaitForServerState(manager, 1, 0); }, u"query KelvarionServer",
       u"Cannot query service status"},
      {[&] { QueryOrmuStatus(manager); }, u"query ormusvc", u"Cannot query service status"},
      {[&] { QueryOrmuConfig(manager); }, u"config ormusvc", u"Cannot query service config"},
      {[&] { StartOrmu(manager); }, u"start ormusvc", u"Cannot start service"},
      {[&] { StopOrmu(manager); }, u"control ormusvc 1", u"Cannot stop service"},
      {[&] { SetOrmuStartMode(manager, 4); }, u"type ormusvc 4", u"Cannot change service settings"},
      {[&] { WaitForOrmuState(manager, 1, 0); }, u"query ormusvc", u"Cannot query service status"},
  };
  for (const auto& row : rows) {
    manager.calls.clear();
    manager.Fail(u"", ERROR_SUCCESS);
    row.operation();
    EXPECT_EQ(manager.calls, (std::deque<std::u16string>{row.call})) << "one call each";
    const std::u16string service =
        row.call.find(u"ormusvc") == row.call.npos ? kServerServiceName : kOrmuServiceName;
    const struct {
      Win32Error error;
      std::u16string message;
    } failures[] = {
        {ERROR_SERVICE_ALREADY_RUNNING, row.message},
        {ERROR_SERVICE_DOES_NOT_EXIST, u"Cannot open service '" + service + u"'"},
        {RPC_S_SERVER_UNAVAILABLE, u"Cannot connect to service manager"},
    };
    for (const auto& failure : failures) {
      manager.Fail(u"", failure.error);
      try {
        row.operation();
        ADD_FAILURE() << "did not throw";
      } catch (const Win32Exception& thrown) {
        EXPECT_EQ(thrown.text(), failure.message);
        EXPECT_EQ(thrown.hresult(), HresultFromWin32(failure.error));
      }
    }
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
  const struct {
    std::u16string account;
    std::u16string sid;  // Empty when it cannot be mapped.
  } rows[] = {
      {u"", u"S-1-5-18"},
      {u"localsystem", u"S-1-5-18"},
      {u"NT AUTHORITY\\networkservice", u"S-1-5-20"},
      {u".\\www-data", u"S-1-22-1-33"},
      {u"www-data", u"S-1-22-1-33"},
      {u".\\nobody-there", u""},
  };
  const FakeAuthority authority;
  for (const auto& row : rows) {
    FakeManager manager;
    manager.config.start_name = row.account;
    try {
      EXPECT_EQ(GetServerServiceAccountSid(manager, authority), row.sid);
    } catch (const SimpleException& thrown) {
      EXPECT_EQ(row.sid, u"");
      EXPECT_EQ(thrown.Message(), u"Cannot map SID for service account 'nobody-there'");
    }
  }
}

}  // namespace
}  // namespace kelvarion::services
