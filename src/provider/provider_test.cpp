#include "provider/provider.h"

#include <gtest/gtest.h>

#include "errors/hresult_text.h"
#include "platform/text/encoding.h"
#include "tests/provider_host/provider_host.h"
#include "tests/support/test_home.h"

namespace kelvarion {
namespace {

using testing::Answer;
using testing::ProviderHost;
using testing::TestHome;

constexpr const char16_t* kVersionPath = u"Kelvarion_VersionInfo=@";

std::vector<platform::EventRecord> Events(const platform::Machine& machine) {
  std::vector<platform::EventRecord> events;
  machine.event_log->Read({}, [&](const platform::EventRecord& e) { events.push_back(e); });
  return events;
}

class ProviderTest : public ::testing::Test {
 protected:
  TestHome home_;
  ProviderHost host_{home_.machine()};
};

TEST_F(ProviderTest, RequestsEndWithTheStatusOfWhatHappened) {
  const WMIObject version = host_.Spawn(u"Kelvarion_VersionInfo");
  const struct {
    const char* what;
    Answer answer;
    HRESULT status;
    std::u16string message;  // How the error object's text begins.
  } rows[] = {
      {"a singleton", host_.Get(kVersionPath), S_OK, u""},
      {"enumeration", host_.Enumerate(u"kelvarion_versioninfo"), S_OK, u""},
      {"another key", host_.Get(u"Kelvarion_VersionInfo.X=\"1\""), WBEM_E_NOT_FOUND, u""},
      {"a class nobody serves", host_.Get(u"Kelvarion_Nothing.Name=\"x\""), WBEM_E_FAILED,
       u"Unexpected class 'Kelvarion_Nothing': "},
      {"no path", host_.Get(u"X.Y=\"x"), WBEM_E_INVALID_OBJECT_PATH, u"Cannot parse WMI object"},
      {"put", host_.Put(version), WBEM_E_NOT_SUPPORTED, u""},
      {"delete", host_.Delete(kVersionPath), WBEM_E_NOT_SUPPORTED, u""},
      {"no method", host_.Call(u"Kelvarion_User", u"Rename"), WBEM_E_INVALID_METHOD, u""},
      {"no list", host_.Enumerate(u"Kelvarion_Activity"), WBEM_E_NOT_SUPPORTED, u""},
      {"a sink that takes nothing", host_.Get(kVersionPath, {.indicate = E_OUTOFMEMORY}),
       WBEM_E_FAILED, HresultText(E_OUTOFMEMORY)},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    EXPECT_EQ(row.answer.status, row.status);
    EXPECT_EQ(row.answer.returned, S_OK);
    EXPECT_EQ(row.answer.completions, 1);
    EXPECT_EQ(row.answer.error.object() != nullptr, Failed(row.status));
    EXPECT_TRUE(row.answer.Message().starts_with(row.message))
        << platform::Utf8ForDisplay(row.answer.Message());
    EXPECT_EQ(row.answer.objects.size(), Failed(row.status) ? 0u : 1u);
  }
}

TEST_F(ProviderTest, AnErrorObjectIsACimErrorThatCarriesTheWmiError) {
  const WMIObject error = host_.Get(u"Kelvarion_User.Name=\"nobody\"").error;
  EXPECT_EQ(error.ClassName(), u"CIM_Error");
  EXPECT_EQ(error.Get(Property<std::uint32_t>{u"StatusCode"}), 0x80041002u);
  EXPECT_EQ(error.Get(Property<std::u16string>{u"MessageID"}), u"HRESULT 0x80041002");
  EXPECT_EQ(error.Get(Property<std::u16string>{u"ACTUAL_CLASS"}), u"MSFT_WmiError");
  const WMIObject actual = error.Get(Property<WMIObject>{u"ACTUAL_ERRORINSTANCE"});
  EXPECT_EQ(actual.ClassName(), u"MSFT_WmiError");
  EXPECT_EQ(actual.Get(Property<std::u16string>{u"Message"}),
            error.Get(Property<std::u16string>{u"Description"}));
}

TEST_F(ProviderTest, AnAdministratorsFailureIsExplained) {
  const ErrorObjectFactory factory(host_.name_space(), nullptr);
  const WMIObject error = factory.BuildExtended(
      WBEM_E_FAILED, LocalServerAdminException(u"away", u"port closed", u"all of it", 2));
  EXPECT_EQ(error.Get(Property<std::u16string>{u"Summary"}), u"away");
  EXPECT_EQ(error.Get(Property<std::u16string>{u"Details"}), u"port closed");
  EXPECT_EQ(error.Get(Property<std::u16string>{u"Message"}), u"all of it");
  EXPECT_EQ(error.Get(Property<std::uint32_t>{u"ProbableReason"}), 2u);
}

TEST_F(ProviderTest, OnlyClientsThatCanBeActedForAreServed) {
  const auto client = [](ImpersonationLevel level) {
    return ClientToken{u"S-1-22-1-4711", {}, level};
  };
  const struct {
    std::optional<ClientToken> client;
    HRESULT returned;
    std::uint32_t event;
  } rows[] = {
      {client(ImpersonationLevel::kAnonymous), WBEM_E_ACCESS_DENIED, kEventAccessDenied},
      {client(ImpersonationLevel::kIdentification), WBEM_E_ACCESS_DENIED, kEventAccessDenied},
      {client(static_cast<ImpersonationLevel>(9)), Code(0x8007FFFF), kEventImpersonationFailure},
      {std::nullopt, RPC_E_CALL_COMPLETE, kEventImpersonationFailure},
  };
  for (const auto& row : rows) {
    const std::size_t before = Events(*home_.machine()).size();
    host_.SetClient(row.client);
    const Answer answer = host_.Get(kVersionPath);
    EXPECT_EQ(answer.returned, row.returned);
    EXPECT_EQ(answer.completions, 0) << "a refused client's sink is left alone";
    const auto events = Events(*home_.machine());
    ASSERT_EQ(events.size(), before + 1);
    EXPECT_EQ(events.back().id, row.event);
    EXPECT_FALSE(events.back().user_sid);
  }
  host_.SetClient(client(ImpersonationLevel::kDelegation));
  EXPECT_EQ(host_.Get(kVersionPath).status, S_OK);
  const ClientToken* left = nullptr;
  EXPECT_EQ(OpenThreadToken(left), ERROR_NO_TOKEN) << "impersonation ends with the request";
}

TEST_F(ProviderTest, FailuresAreRecordedForTheClient) {
  host_.SetClient(ClientToken{u"S-1-22-1-4711", {}, ImpersonationLevel::kImpersonation});
  host_.Get(u"Kelvarion_Nothing=@");
  const auto events = Events(*home_.machine());
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].source, u"Kelvarion Server 3.5");
  EXPECT_EQ(events[0].id, 0xC00007D0u);
  EXPECT_EQ(events[0].user_sid, u"S-1-22-1-4711");
  EXPECT_TRUE(events[0].strings.at(0).starts_with(u"Unexpected class 'Kelvarion_Nothing'"));
}

TEST_F(ProviderTest, WithoutErrorClassesClientsStillLearnTheStatus) {
  const ProviderHost bare(home_.machine(), {u"MSFT_WmiError"});
  EXPECT_EQ(bare.initialize_status(), WBEM_S_INITIALIZED);
  const Answer answer = bare.Get(u"Kelvarion_User.Name=\"nobody\"");
  EXPECT_EQ(answer.status, WBEM_E_NOT_FOUND);
  EXPECT_FALSE(answer.error);
  // A class that is served must be there.
  EXPECT_EQ(ProviderHost(home_.machine(), {u"Kelvarion_PermissionEntry"}).initialize_status(),
            WBEM_E_FAILED);
}

TEST_F(ProviderTest, RequestsThatAProviderDoesNotServeAreRefusedAtOnce) {
  IWbemServices& services = host_.services();
  EXPECT_EQ(services.GetObjectAsync(kVersionPath, 0, nullptr, nullptr), RPC_E_CALL_COMPLETE);
  const ScopedClient client(ProviderHost::DefaultClient());
  EXPECT_EQ(services.GetObjectAsync(kVersionPath, 0, nullptr, nullptr), WBEM_E_INVALID_PARAMETER);
  EXPECT_EQ(services.ExecQueryAsync(u"WQL", u"select * from X", 0, nullptr, nullptr),
            WBEM_E_NOT_SUPPORTED);
  EXPECT_EQ(services.GetObject(kVersionPath, 0, nullptr, nullptr), WBEM_E_NOT_SUPPORTED);
}

TEST_F(ProviderTest, InTestModeSettingsAreTheUsersAndNoClientIsNeeded) {
  const auto provider = MakeCom<CKelvarionWMIProvider>(home_.machine());
  const auto test_mode = provider.As<IKelvarionWmiProviderTestMode>();
  ASSERT_TRUE(test_mode);
  EXPECT_EQ(test_mode->EnableTestMode(u"Software\\Kelvarion\\Test"), S_OK);
  EXPECT_EQ(provider->GetObjectAsync(kVersionPath, 0, nullptr, nullptr), WBEM_E_INVALID_PARAMETER)
      << "no client is asked for, so the missing sink is what is wrong";
}

}  // namespace
}  // namespace kelvarion
