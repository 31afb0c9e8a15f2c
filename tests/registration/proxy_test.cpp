#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "platform/com/class_object.h"
#include "platform/wmi/services_base.h"
#include "tests/configurator/configurator.h"
#include "tests/registration/registered_library.h"
#include "tests/support/eventually.h"
#include "tests/support/test_home.h"

namespace kelvarion::testing {
namespace {

using Calls = std::vector<std::string>;

constexpr HRESULT kGone = HresultFromWin32(RPC_S_SERVER_UNAVAILABLE);
constexpr const char16_t* kPath = u"Repo=1";
constexpr const char* kGet = "get Repo=1 as S-1-22-1-7";
const std::string kInitialize = "initialize root\\Kelvarion as S-1-22-1-7";

class ClientSink final : public ComObject<IWbemObjectSink> {
 public:
  HRESULT Indicate(std::int32_t, IWbemClassObject**) override {
    ++indicated;
    return S_OK;
  }
  HRESULT SetStatus(std::int32_t, HRESULT, const std::u16string*, IWbemClassObject*) override {
    ++completed;
    return S_OK;
  }
  std::atomic<int> indicated = 0;
  std::atomic<int> completed = 0;
};

// What the configurator keeps; waits for it.
template <class Kept>
Kept Taken(Kept Configurator::*kept) {
  EXPECT_TRUE(Eventually([&] { return static_cast<bool>(TheConfigurator().operator->()->*kept); }));
  return std::exchange(TheConfigurator().operator->()->*kept, nullptr);
}

class InitSink final : public ComObject<IWbemProviderInitSink> {
 public:
  HRESULT SetStatus(HRESULT result, std::int32_t) override {
    status = result;
    return S_OK;
  }
  HRESULT status = E_FAIL;
};

// The proxy, created as hosts create it, over the configurator that the home's registry names.
class ProxyTest : public ::testing::Test {
 protected:
  ProxyTest() {
    Reset();
    platform::SetCurrentMachine(home_.machine());
    EXPECT_EQ(DllInstall(true, nullptr), S_OK);
    EXPECT_EQ(home_.machine()->registry->CreateKey(configurator_key_), ERROR_SUCCESS);
    EXPECT_EQ(home_.machine()->registry->Set(
                  configurator_key_, u"",
                  platform::RegistryValue::String(u"" KELVARION_TEST_CONFIGURATOR)),
              ERROR_SUCCESS);
    EXPECT_EQ(CoCreateInstance(kProxy, IWbemServices::kIid, proxy_.PutVoid()), S_OK);
  }
  ~ProxyTest() override {
    proxy_ = nullptr;
    Reset();
    platform::SetCurrentMachine(nullptr);
  }

  static void Reset() {
    const TheConfigurator configurator;
    configurator->behaviour = {};
    configurator->calls.clear();
    configurator->init_sink = nullptr;
    configurator->sink = nullptr;
  }
  static ClientToken Client() { return {u"S-1-22-1-7", {}, ImpersonationLevel::kImpersonation}; }

  HRESULT Initialize() {
    const ScopedClient client(Client());
    const auto sink = MakeCom<InitSink>();
    EXPECT_EQ(proxy_.As<IWbemProviderInit>()->Initialize(nullptr, 0, u"root\\Kelvarion", nullptr,
                                                         nullptr, nullptr, sink.Get()),
              S_OK);
    return sink->status;
  }
  HRESULT Get() {
    const ScopedClient client(Client());
    const HRESULT hr = proxy_->GetObjectAsync(kPath, 0, nullptr, sink_.Get());
    const ClientToken* left = nullptr;
    EXPECT_EQ(OpenThreadToken(left), ERROR_NO_TOKEN) << "impersonation ends with the request";
    return hr;
  }
  HRESULT Exec() {
    const ScopedClient client(Client());
    return proxy_->ExecMethodAsync(kPath, u"Run", 0, nullptr, nullptr, sink_.Get());
  }

  const platform::KeyPath configurator_key_{
      platform::RootKey::kClassesRoot,
      u"CLSID\\{A2AC77FD-36C6-4C2A-B238-F89B35DAA570}\\InprocServer32"};
  TestHome home_;
  ComPtr<IWbemServices> proxy_;
  ComPtr<ClientSink> sink_ = MakeCom<ClientSink>();
};

TEST_F(ProxyTest, RequestsGoToTheConfiguratorAsTheClient) {
  ASSERT_EQ(Initialize(), S_OK);
  EXPECT_EQ(Get(), S_OK);
  EXPECT_EQ(Exec(), S_OK);
  EXPECT_EQ(TheConfigurator()->calls,
            (Calls{"start", kInitialize, kGet, "method Repo=1 Run as S-1-22-1-7"}));
  EXPECT_EQ(sink_->indicated, 2);
  EXPECT_EQ(sink_->completed, 2);
  EXPECT_EQ(proxy_->GetObjectAsync(kPath, 0, nullptr, sink_.Get()), RPC_E_CALL_COMPLETE)
      << "nobody to impersonate";
  EXPECT_EQ(proxy_->PutInstanceAsync(nullptr, 0, nullptr, nullptr), WBEM_E_PROVIDER_NOT_CAPABLE);
  EXPECT_EQ(proxy_->DeleteInstanceAsync(kPath, 0, nullptr, nullptr), WBEM_E_PROVIDER_NOT_CAPABLE);
  EXPECT_EQ(proxy_->CreateInstanceEnumAsync(u"Repo", 0, nullptr, nullptr),
            WBEM_E_PROVIDER_NOT_CAPABLE);
  EXPECT_EQ(proxy_->ExecQueryAsync(u"WQL", u"", 0, nullptr, nullptr), WBEM_E_PROVIDER_NOT_CAPABLE);
  EXPECT_EQ(proxy_->GetObject(kPath, 0, nullptr, nullptr), WBEM_E_NOT_SUPPORTED);
  EXPECT_EQ(TheConfigurator()->calls.size(), 4u);
}

TEST_F(ProxyTest, InitialisationTellsWhetherTheConfiguratorIsReady) {
  const struct {
    const char* what;
    ConfiguratorBehaviour behaviour;
    HRESULT expected;
  } rows[] = {
      {"it cannot be started", {.start = E_FAIL}, WBEM_E_FAILED},
      {"it refuses", {.initialize = E_FAIL, .late_init = true}, WBEM_E_FAILED},
      {"it fails", {.init_status = WBEM_E_ACCESS_DENIED}, WBEM_E_FAILED},
      {"it is ready only in part", {.init_status = S_FALSE}, WBEM_E_FAILED},
      {"it is ready", {}, S_OK},
  };
  for (const auto& row : rows) {
    TheConfigurator()->behaviour = row.behaviour;
    EXPECT_EQ(Initialize(), row.expected) << row.what;
  }
  TheConfigurator()->behaviour = {.late_init = true};
  for (const HRESULT late : {S_OK, E_FAIL}) {
    std::jthread server([late] { Taken(&Configurator::init_sink)->SetStatus(late, 0); });
    EXPECT_EQ(Initialize(), late == S_OK ? S_OK : WBEM_E_FAILED);
  }
  home_.machine()->registry->DeleteTree(configurator_key_);
  EXPECT_EQ(Initialize(), WBEM_E_FAILED) << "nobody registered it";
}

TEST_F(ProxyTest, AConfiguratorThatWentAwayIsStartedAgainOnceForGet) {
  ASSERT_EQ(Initialize(), S_OK);
  const Calls again{"start", kInitialize, kGet};
  const struct {
    const char* what;
    ConfiguratorBehaviour behaviour;
    HRESULT expected;
    Calls calls;
  } rows[] = {
      {"it can be started", {}, S_OK, again},
      {"it cannot", {.start = E_FAIL}, kGone, {"start"}},
      {"its initialisation fails", {.init_status = E_FAIL}, kGone, {"start", kInitialize}},
      {"it is gone again at once", {.answer = kGone}, kGone, again},
      {"it refuses the request", {.answer = E_FAIL}, E_FAIL, again},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    Reset();
    ++TheConfigurator()->generation;
    EXPECT_EQ(Exec(), kGone) << "a method may have run half";
    EXPECT_EQ(TheConfigurator()->calls, Calls());
    TheConfigurator()->behaviour = row.behaviour;
    EXPECT_EQ(Get(), row.expected);
    EXPECT_EQ(TheConfigurator()->calls, row.calls);
  }
  Reset();
  EXPECT_EQ(Get(), S_OK);
  TheConfigurator()->behaviour = {.answer = E_FAIL};
  EXPECT_EQ(Get(), E_FAIL);
  EXPECT_EQ(TheConfigurator()->calls, (Calls{kGet, kGet})) << "only a lost server is restarted";
}

TEST_F(ProxyTest, LateResultsReachTheClientUnlessTheRequestFailed) {
  ASSERT_EQ(Initialize(), S_OK);
  const struct {
    HRESULT answer;
    HRESULT late;
    int reached;
  } rows[] = {{S_OK, S_OK, 1}, {E_FAIL, RPC_E_DISCONNECTED, 0}};
  for (const auto& row : rows) {
    for (const bool get : {true, false}) {
      sink_ = MakeCom<ClientSink>();
      TheConfigurator()->behaviour = {.answer = row.answer, .late_answer = true};
      EXPECT_EQ(get ? Get() : Exec(), row.answer);
      const ComPtr<IWbemObjectSink> late = Taken(&Configurator::sink);
      EXPECT_EQ(late->Indicate(0, nullptr), row.late);
      EXPECT_EQ(late->SetStatus(WBEM_STATUS_COMPLETE, S_OK, nullptr, nullptr), row.late);
      EXPECT_EQ(sink_->indicated, row.reached);
      EXPECT_EQ(sink_->completed, row.reached);
    }
  }
}

TEST_F(ProxyTest, ManyClientsOutliveTheConfiguratorsEnds) {
  ASSERT_EQ(Initialize(), S_OK);
  constexpr int kClients = 6;
  constexpr int kRounds = 60;
  std::atomic<int> served = 0;
  std::atomic<int> lost = 0;
  {
    std::vector<std::jthread> clients;
    for (int i = 0; i < kClients; ++i)
      clients.emplace_back([&, i] {
        for (int round = 0; round < kRounds; ++round) {
          if (i == 0) ++TheConfigurator()->generation;
          const HRESULT hr = Get();
          ++(hr == S_OK ? served : lost);
          // It may go away once more before the second try.
          EXPECT_TRUE(hr == S_OK || hr == kGone) << hr;
        }
      });
  }
  EXPECT_EQ(served + lost, kClients * kRounds);
  EXPECT_EQ(sink_->completed, served);
  EXPECT_EQ(Get(), S_OK);
}

}  // namespace
}  // namespace kelvarion::testing
