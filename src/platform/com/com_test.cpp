#include <gtest/gtest.h>

#include <thread>

#include "platform/com/class_object.h"
#include "platform/com/unknown.h"

namespace kelvarion {
namespace {

class ICounter : public IUnknown {
 public:
  static constexpr Guid kIid{0x11111111, 1, 1, {1, 1, 1, 1, 1, 1, 1, 1}};
  virtual int Count() = 0;

 protected:
  ~ICounter() = default;
};

class Thing final : public ComObject<ICounter> {
 public:
  int Count() override { return 1; }
};

class Factory final : public ComObject<IClassFactory> {
 public:
  HRESULT CreateInstance(IUnknown* outer, const Guid& iid, void** out) override {
    if (outer) return CLASS_E_NOAGGREGATION;
    return MakeCom<Thing>()->QueryInterface(iid, out);
  }
  HRESULT LockServer(bool) override { return S_OK; }
};

TEST(ClassObjectTest, TheProcesssOwnClassesComeBeforeLibraries) {
  const Guid id{7, 7, 7, {}};
  const Guid other{8, 8, 8, {}};
  CoRegisterClassObject(id, MakeCom<Factory>());
  int asked = 0;
  SetClassLocator([&asked](const Guid&) {
    ++asked;
    return std::string();
  });
  ComPtr<ICounter> counter;
  EXPECT_EQ(CoCreateInstance(id, ICounter::kIid, counter.PutVoid()), S_OK);
  EXPECT_EQ(counter->Count(), 1);
  EXPECT_EQ(asked, 0);
  EXPECT_EQ(CoCreateInstance(id, IClassFactory::kIid, counter.PutVoid()), E_NOINTERFACE);
  EXPECT_FALSE(counter);
  EXPECT_EQ(CoCreateInstance(other, ICounter::kIid, counter.PutVoid()), REGDB_E_CLASSNOTREG);
  EXPECT_EQ(asked, 1);
  EXPECT_EQ(CoCreateInstance(id, ICounter::kIid, nullptr), E_POINTER);
  SetClassLocator(nullptr);
}

TEST(ClassObjectTest, ALibraryThatDoesNotServeClassesIsNotAModule) {
  ComPtr<ICounter> counter;
  for (const char* library : {"/none/library.so", "libc.so.6"}) {
    SetClassLocator([library](const Guid&) { return std::string(library); });
    EXPECT_EQ(CoCreateInstance({9, 9, 9, {}}, ICounter::kIid, counter.PutVoid()),
              HresultFromWin32(ERROR_MOD_NOT_FOUND));
    EXPECT_NE(LastLoadError().find(library), std::string::npos) << LastLoadError();
  }
  SetClassLocator(nullptr);
  EXPECT_EQ(CoCreateInstance({9, 9, 9, {}}, ICounter::kIid, counter.PutVoid()),
            REGDB_E_CLASSNOTREG);
  EXPECT_EQ(LastLoadError(), "");
}

TEST(ClientTest, IsTheThreadsOwnAndNests) {
  const ClientToken* token = nullptr;
  EXPECT_EQ(CoImpersonateClient(), RPC_E_CALL_COMPLETE);
  EXPECT_EQ(OpenThreadToken(token), ERROR_NO_TOKEN);
  {
    const ScopedClient outer({u"S-1-22-1-1", {}, ImpersonationLevel::kImpersonation});
    EXPECT_EQ(OpenThreadToken(token), ERROR_NO_TOKEN) << "not impersonated yet";
    {
      const ScopedClient inner({u"S-1-22-1-2", {}, ImpersonationLevel::kIdentification});
      EXPECT_EQ(CoImpersonateClient(), S_OK);
      EXPECT_EQ(OpenThreadToken(token), ERROR_SUCCESS);
      EXPECT_EQ(token->user_sid, u"S-1-22-1-2");
      std::thread([] { EXPECT_EQ(CoImpersonateClient(), RPC_E_CALL_COMPLETE); }).join();
    }
    EXPECT_EQ(OpenThreadToken(token), ERROR_NO_TOKEN) << "the client went while impersonated";
    EXPECT_EQ(CoImpersonateClient(), S_OK);
    EXPECT_EQ(OpenThreadToken(token), ERROR_SUCCESS);
    EXPECT_EQ(token->user_sid, u"S-1-22-1-1");
    {
      const ScopedClient within({u"S-1-22-1-3", {}, ImpersonationLevel::kImpersonation});
      EXPECT_EQ(OpenThreadToken(token), ERROR_NO_TOKEN) << "acts for the client around it";
      EXPECT_EQ(CoImpersonateClient(), S_OK);
      EXPECT_EQ(CoRevertToSelf(), S_OK);
    }
    ASSERT_EQ(OpenThreadToken(token), ERROR_SUCCESS) << "the call within ended the impersonation";
    EXPECT_EQ(token->user_sid, u"S-1-22-1-1");
    EXPECT_EQ(CoRevertToSelf(), S_OK);
    EXPECT_EQ(OpenThreadToken(token), ERROR_NO_TOKEN);
  }
  EXPECT_EQ(CoImpersonateClient(), RPC_E_CALL_COMPLETE);
}

}  // namespace
}  // namespace kelvarion
