#include "host/provider_host.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <thread>

#include "errors/exception.h"
#include "host/fake_provider_for_test.h"
#include "provider/class_ids.h"
#include "tests/support/test_home.h"

namespace kelvarion::host {
namespace {

class ProviderHostTest : public ::testing::Test {
 protected:
  ProviderHostTest() {
    CoRegisterClassObject(CLSID_KelvarionWMIProvider, MakeCom<FakeFactory>(provider_));
  }
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

// The interrupt has to reach both those who report progress and those who only ask.
TEST_F(ProviderHostTest, AnInterruptCancelsTheRequestAndWaitsForItsEnd) {
  ProviderHost host = Open();
  HRESULT progress = E_UNEXPECTED;
  provider_->method = [&](const std::u16string&, IWbemContext*, IWbemClassObject*,
                          IWbemObjectSink* plain) {
    const ComPtr<IWbemObjectSink> sink(plain);
    const auto cancellable = sink.As<IcCancellableSink>();
    EXPECT_FALSE(cancellable->IsCancelled());
    raise(SIGINT);
    while (!cancellable->IsCancelled()) std::this_thread::yield();
    progress = sink.As<IWbemObjectSinkEx>()->WriteProgress(nullptr, nullptr, nullptr, 50, -1);
    return sink->SetStatus(WBEM_STATUS_COMPLETE, WBEM_E_FAILED, nullptr, nullptr);
  };
  const Reply reply = host.Call(u"X", u"Long", nullptr, nullptr, nullptr);
  EXPECT_EQ(progress, WBEM_E_CALL_CANCELLED);
  EXPECT_EQ(reply.status, WBEM_E_FAILED);
}

}  // namespace
}  // namespace kelvarion::host
