#include <gtest/gtest.h>
#include <sqlite3.h>

#include "platform/com/class_object.h"
#include "platform/com/global_options.h"
#include "platform/text/encoding.h"
#include "platform/wmi/interfaces.h"
#include "tests/registration/registered_library.h"
#include "tests/support/test_home.h"

namespace kelvarion::testing {
namespace {

using platform::RootKey;

using Names = std::vector<std::u16string>;

class RegistrationTest : public ::testing::Test {
 protected:
  RegistrationTest() { platform::SetCurrentMachine(home_.machine()); }
  ~RegistrationTest() override { platform::SetCurrentMachine(nullptr); }

  Names Classes(RootKey root) const {
    Names names;
    home_.machine()->registry->EnumerateKeys({root, u"Software\\Classes\\CLSID"}, names);
    return names;
  }
  // What a host finds both classes to be.
  static std::pair<HRESULT, HRESULT> Create() {
    ComPtr<IWbemServices> provider, proxy;
    return {CoCreateInstance(kProvider, IWbemServices::kIid, provider.PutVoid()),
            CoCreateInstance(kProxy, IWbemServices::kIid, proxy.PutVoid())};
  }

  TestHome home_;
  const Names both_{ToText(kProvider), ToText(kProxy)};
};

TEST_F(RegistrationTest, TheCommandLineSaysWhoseClassesTheyAre) {
  const std::pair<const char16_t*, RootKey> rows[] = {
      {nullptr, RootKey::kLocalMachine},  {u"", RootKey::kLocalMachine},
      {u"uSeR", RootKey::kCurrentUser},   {u"users", RootKey::kLocalMachine},
      {u" user", RootKey::kLocalMachine}, {u"machine", RootKey::kLocalMachine},
  };
  const std::pair<HRESULT, HRESULT> found{S_OK, S_OK};
  const std::pair<HRESULT, HRESULT> missing{REGDB_E_CLASSNOTREG, REGDB_E_CLASSNOTREG};
  for (const auto& [command_line, root] : rows) {
    SCOPED_TRACE(command_line ? platform::Utf8ForDisplay(command_line) : "none");
    const RootKey other =
        root == RootKey::kCurrentUser ? RootKey::kLocalMachine : RootKey::kCurrentUser;
    EXPECT_EQ(Create(), missing);
    for (int round = 0; round < 2; ++round) {
      EXPECT_EQ(DllInstall(true, command_line), S_OK);
      EXPECT_EQ(Classes(root), both_);
      EXPECT_EQ(Classes(other), Names());
    }
    EXPECT_EQ(Create(), found);
    EXPECT_EQ(DllInstall(false, command_line), S_OK);
    EXPECT_EQ(Classes(root), Names());
    EXPECT_EQ(home_.machine()->registry->OpenKey({root, u"Software\\Classes\\CLSID"}),
              ERROR_SUCCESS)
        << "others live there";
  }
  EXPECT_EQ(Export<HRESULT()>("DllRegisterServer")(), S_OK);
  EXPECT_EQ(Create(), found);
  EXPECT_EQ(Export<HRESULT()>("DllUnregisterServer")(), S_OK);
  EXPECT_EQ(Classes(RootKey::kLocalMachine), Names());
}

TEST_F(RegistrationTest, AFailedRegistrationIsUndone) {
  sqlite3* registry = nullptr;
  ASSERT_EQ(sqlite3_open((home_.folder() + "/registry.db").c_str(), &registry), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(registry,
                         "CREATE TRIGGER full BEFORE INSERT ON entries"
                         " WHEN NEW.key LIKE '%B006C93F%' BEGIN SELECT RAISE(FAIL, 'full'); END",
                         nullptr, nullptr, nullptr),
            SQLITE_OK);
  sqlite3_close(registry);
  EXPECT_TRUE(Failed(DllInstall(true, nullptr)));
  EXPECT_EQ(Classes(RootKey::kLocalMachine), Names());
}

TEST_F(RegistrationTest, TheLibraryKeepsItsFactoriesAndItsLocks) {
  const auto get = Export<HRESULT(const Guid&, const Guid&, void**)>("DllGetClassObject");
  const auto can_unload = Export<HRESULT()>("DllCanUnloadNow");
  ComPtr<IClassFactory> factory, again;
  const Guid unknown{1, 2, 3, {}};
  EXPECT_EQ(get(kProxy, IClassFactory::kIid, nullptr), E_POINTER);
  EXPECT_EQ(get(unknown, IClassFactory::kIid, factory.PutVoid()), CLASS_E_CLASSNOTAVAILABLE);
  EXPECT_EQ(get(kProxy, IWbemServices::kIid, factory.PutVoid()), E_NOINTERFACE);
  ASSERT_EQ(get(kProxy, IClassFactory::kIid, factory.PutVoid()), S_OK);
  ASSERT_EQ(get(kProxy, IClassFactory::kIid, again.PutVoid()), S_OK);
  EXPECT_EQ(factory, again);

  EXPECT_EQ(can_unload(), S_OK);
  ComPtr<IWbemServices> proxy;
  ASSERT_EQ(factory->CreateInstance(nullptr, IWbemServices::kIid, proxy.PutVoid()), S_OK);
  EXPECT_EQ(can_unload(), S_FALSE);
  proxy = nullptr;
  EXPECT_EQ(can_unload(), S_OK);
  factory->LockServer(true);
  EXPECT_EQ(can_unload(), S_FALSE);
  factory->LockServer(false);
  EXPECT_EQ(can_unload(), S_OK);
}

TEST_F(RegistrationTest, LoadingTheLibraryLetsExceptionsThrough) {
  Export<HRESULT()>("DllCanUnloadNow");
  ComPtr<IGlobalOptions> options;
  ASSERT_EQ(CoCreateInstance(CLSID_GlobalOptions, IGlobalOptions::kIid, options.PutVoid()), S_OK);
  std::uint64_t value = 0;
  EXPECT_EQ(options->Query(COMGLB_EXCEPTION_HANDLING, &value), S_OK);
  EXPECT_EQ(value, COMGLB_EXCEPTION_DONOT_HANDLE_ANY);
  EXPECT_EQ(options->Query(99, &value), E_INVALIDARG);
}

}  // namespace
}  // namespace kelvarion::testing
