#include <gtest/gtest.h>

#include "platform/com/class_object.h"
#include "platform/com/global_options.h"
#include "platform/text/encoding.h"
#include "platform/wmi/interfaces.h"
#include "tests/registration/registered_library.h"
#include "tests/support/test_home.h"

namespace kelvarion::testing {
namespace {

using platform::KeyPath;
using platform::Registry;
using platform::RootKey;

using Names = std::vector<std::u16string>;

// A registry in which one class cannot be written.
class FailingRegistry final : public Registry {
 public:
  FailingRegistry(std::unique_ptr<Registry> all, std::u16string broken)
      : all_(std::move(all)), broken_(std::move(broken)) {}
  Win32Error OpenKey(const KeyPath& key) const override { return all_->OpenKey(key); }
  Win32Error CreateKey(const KeyPath& key) override { return all_->CreateKey(key); }
  Win32Error DeleteTree(const KeyPath& key) override { return all_->DeleteTree(key); }
  Win32Error EnumerateKeys(const KeyPath& key, Names& out) const override {
    return all_->EnumerateKeys(key, out);
  }
  Win32Error EnumerateValues(const KeyPath& key, Names& out) const override {
    return all_->EnumerateValues(key, out);
  }
  Win32Error Query(const KeyPath& key, const std::u16string& name,
                   platform::RegistryValue& out) const override {
    return all_->Query(key, name, out);
  }
  Win32Error Set(const KeyPath& key, const std::u16string& name,
                 const platform::RegistryValue& value) override {
    if (key.path.find(broken_) != std::u16string::npos) return ERROR_DISK_FULL;
    return all_->Set(key, name, value);
  }
  Win32Error DeleteValue(const KeyPath& key, const std::u16string& name) override {
    return all_->DeleteValue(key, name);
  }

 private:
  std::unique_ptr<Registry> all_;
  const std::u16string broken_;
};

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
  const struct {
    const char16_t* command_line;
    RootKey root;
  } rows[] = {
      {nullptr, RootKey::kLocalMachine},  {u"", RootKey::kLocalMachine},
      {u"user", RootKey::kCurrentUser},   {u"USER", RootKey::kCurrentUser},
      {u"uSeR", RootKey::kCurrentUser},   {u"users", RootKey::kLocalMachine},
      {u"use", RootKey::kLocalMachine},   {u"user ", RootKey::kLocalMachine},
      {u" user", RootKey::kLocalMachine}, {u"machine", RootKey::kLocalMachine},
  };
  const std::pair<HRESULT, HRESULT> found{S_OK, S_OK};
  const std::pair<HRESULT, HRESULT> missing{REGDB_E_CLASSNOTREG, REGDB_E_CLASSNOTREG};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.command_line ? platform::Utf8ForDisplay(row.command_line) : "none");
    const RootKey other =
        row.root == RootKey::kCurrentUser ? RootKey::kLocalMachine : RootKey::kCurrentUser;
    EXPECT_EQ(Create(), missing);
    for (int round = 0; round < 2; ++round) {
      EXPECT_EQ(DllInstall(true, row.command_line), S_OK);
      EXPECT_EQ(Classes(row.root), both_);
      EXPECT_EQ(Classes(other), Names());
    }
    EXPECT_EQ(Create(), found);
    EXPECT_EQ(DllInstall(false, row.command_line), S_OK);
    EXPECT_EQ(Classes(row.root), Names());
    const KeyPath classes{row.root, u"Software\\Classes\\CLSID"};
    EXPECT_EQ(home_.machine()->registry->OpenKey(classes), ERROR_SUCCESS) << "others live there";
  }
}

TEST_F(RegistrationTest, BothClassesAreWrittenWithNamePathAndThreading) {
  ASSERT_EQ(Export<HRESULT()>("DllRegisterServer")(), S_OK);
  const struct {
    const Guid& class_id;
    const char16_t* name;
  } rows[] = {
      {kProvider, u"KelvarionWMIProvider Class"},
      {kProxy, u"Kelvarion Repository Configurator WMI Provider"},
  };
  const Registry& registry = *home_.machine()->registry;
  for (const auto& row : rows) {
    const KeyPath key{RootKey::kClassesRoot, u"CLSID\\" + ToText(row.class_id)};
    const KeyPath server{key.root, key.path + u"\\InprocServer32"};
    const auto text = [&](const KeyPath& at, const std::u16string& name) {
      platform::RegistryValue value;
      registry.Query(at, name, value);
      return value.data;
    };
    using platform::RegistryValue;
    EXPECT_EQ(text(key, u""), RegistryValue::String(row.name).data);
    EXPECT_EQ(text(server, u"ThreadingModel"), RegistryValue::String(u"Both").data);
    EXPECT_EQ(text(server, u""),
              RegistryValue::String(platform::Utf16ForDisplay(ProviderLibrary())).data);
  }
  ASSERT_EQ(Export<HRESULT()>("DllUnregisterServer")(), S_OK);
  EXPECT_EQ(Classes(RootKey::kLocalMachine), Names());
}

TEST_F(RegistrationTest, AFailedRegistrationIsUndone) {
  auto& registry = home_.machine()->registry;
  registry = std::make_unique<FailingRegistry>(std::move(registry), u"B006C93F");
  EXPECT_EQ(DllInstall(true, nullptr), HresultFromWin32(ERROR_DISK_FULL));
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
