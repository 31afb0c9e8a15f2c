#include "host/provider_host.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <functional>
#include <semaphore>

#include "errors/exception.h"
#include "platform/wmi/services_base.h"
#include "tests/support/test_home.h"

namespace kelvarion::host {
namespace {

// A provider that does what the test says.
class FakeProvider final : public ComObject<platform::ServicesBase, IWbemProviderInit> {
 public:
  using Method = std::function<HRESULT(const std::u16string& name, IWbemContext* context,
                                       IWbemClassObject* in, IWbemObjectSink* sink)>;

  HRESULT Initialize(const std::u16string*, std::int32_t, const std::u16string&,
                     const std::u16string*, IWbemServices* services, IWbemContext*,
                     IWbemProviderInitSink* sink) override {
    initialized_with_namespace = services != nullptr;
    return sink->SetStatus(initialize_status, 0);
  }
  HRESULT GetObjectAsync(Text, std::int32_t, IWbemContext*, IWbemObjectSink* sink) override {
    impersonated = CoImpersonateClient();
    const ClientToken* token = nullptr;
    if (OpenThreadToken(token) == ERROR_SUCCESS) client = *token;
    CoRevertToSelf();
    return sink->SetStatus(WBEM_STATUS_COMPLETE, S_OK, nullptr, nullptr);
  }
  HRESULT ExecMethodAsync(Text, Text name, std::int32_t, IWbemContext* context,
                          IWbemClassObject* in, IWbemObjectSink* sink) override {
    return method(name, context, in, sink);
  }

  HRESULT initialize_status = S_OK;
  bool initialized_with_namespace = false;
  HRESULT impersonated = E_UNEXPECTED;
  ClientToken client;
  Method method;
};

class FakeFactory final : public ComObject<IClassFactory> {
 public:
  explicit FakeFactory(ComPtr<FakeProvider> provider) : provider_(std::move(provider)) {}
  HRESULT CreateInstance(IUnknown*, const Guid& iid, void** out) override {
    return provider_->QueryInterface(iid, out);
  }
  HRESULT LockServer(bool) override { return S_OK; }

 private:
  ComPtr<FakeProvider> provider_;
};

class ProviderHostTest : public ::testing::Test {
 protected:
  ProviderHostTest() { CoRegisterClassObject(kProviderClass, MakeCom<FakeFactory>(provider_)); }
  ProviderHost Open() { return ProviderHost(home_.machine(), schema_); }

  kelvarion::testing::TestHome home_;
  std::shared_ptr<const Schema> schema_ =
      std::make_shared<const Schema>(KELVARION_SOURCE_DIR "/schema");
  ComPtr<FakeProvider> provider_ = MakeCom<FakeProvider>();
};

TEST_F(ProviderHostTest, RequestsCarryTheAccountOfTheProcessAbleToAct) {
  ProviderHost host = Open();
  EXPECT_TRUE(provider_->initialized_with_namespace);
  EXPECT_EQ(host.Get(u"X=@", nullptr, nullptr).status, S_OK);
  EXPECT_EQ(provider_->impersonated, S_OK);
  EXPECT_EQ(provider_->client.user_sid, platform::CurrentUserSid());
  EXPECT_FALSE(provider_->client.group_sids.empty());
  EXPECT_EQ(provider_->client.level, ImpersonationLevel::kImpersonation);
  EXPECT_EQ(CoImpersonateClient(), RPC_E_CALL_COMPLETE) << "the thread keeps the client";
}

TEST_F(ProviderHostTest, AProviderThatCannotBeInitialisedIsAClearError) {
  provider_->initialize_status = WBEM_E_FAILED;
  EXPECT_THROW(Open(), SimpleException);
}

// The interrupt has to reach both those who poll the activity and those who poll the sink.
TEST_F(ProviderHostTest, AnInterruptCancelsTheActivityAndTheProgressAndWaitsForTheEnd) {
  ProviderHost host = Open();
  std::binary_semaphore cancelled{0};
  std::u16string cancelled_id;
  HRESULT progress = E_UNEXPECTED;
  provider_->method = [&](const std::u16string& name, IWbemContext*, IWbemClassObject* in,
                          IWbemObjectSink* sink) {
    if (name == u"Cancel") {
      Variant id;
      in->Get(u"Id", 0, &id, nullptr);
      cancelled_id = id.AsString();
      cancelled.release();
      return sink->SetStatus(WBEM_STATUS_COMPLETE, S_OK, nullptr, nullptr);
    }
    raise(SIGINT);
    cancelled.acquire();
    ComPtr<IWbemObjectSinkEx> extended;
    sink->QueryInterface(IWbemObjectSinkEx::kIid, extended.PutVoid());
    progress = extended->WriteProgress(nullptr, nullptr, nullptr, 50, -1);
    return sink->SetStatus(WBEM_STATUS_COMPLETE, WBEM_E_FAILED, nullptr, nullptr);
  };
  const auto context = MakeContext();
  context->SetValue(u"ActivityId", 0, Variant::FromString(u"mine"));
  const Reply reply = host.Call(u"X", u"Long", context.Get(), nullptr, nullptr);
  EXPECT_EQ(cancelled_id, u"mine");
  EXPECT_EQ(progress, WBEM_E_CALL_CANCELLED);
  EXPECT_EQ(reply.status, WBEM_E_FAILED);
}

TEST_F(ProviderHostTest, ARequestThatIsNotSupportedIsAReply) {
  ProviderHost host = Open();
  EXPECT_EQ(host.Enumerate(u"X", nullptr, nullptr).status, WBEM_E_NOT_SUPPORTED);
}

}  // namespace
}  // namespace kelvarion::host
