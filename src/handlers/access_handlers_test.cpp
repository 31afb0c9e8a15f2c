// What clients see of access: descriptors of places, global rules, delegation, administrators.

#include <gtest/gtest.h>

#include <algorithm>

#include "access/authz_files.h"
#include "access/permission_model.h"
#include "access/windows_groups.h"
#include "platform/text/encoding.h"
#include "repos/create.h"
#include "tests/provider_host/provider_host.h"
#include "tests/support/test_home.h"

namespace kelvarion {
namespace {

using testing::Answer;
using testing::ProviderHost;
using testing::TestHome;
using Objects = std::vector<WMIObject>;
using Strings = std::vector<std::u16string>;
using access::AccessLevel;
using access::Account;

constexpr Property<std::u16string> kSid{u"SID"};
constexpr Property<std::u16string> kName{u"Name"};
constexpr Property<std::u16string> kAssociatedObject{u"AssociatedObject"};
constexpr Property<Objects> kPermissions{u"Permissions"};
constexpr Property<bool> kEnabled{u"Enabled"};
constexpr Property<WMIObject> kAccount{u"Account"};
constexpr Property<std::uint32_t> kAccessLevel{u"AccessLevel"};

constexpr const char16_t* kServer = u"Kelvarion_Service.Name=\"KelvarionServer\"";
constexpr const char16_t* kDemo = u"Kelvarion_Repository.Name=\"demo\"";

class AccessHandlersTest : public ::testing::Test {
 protected:
  AccessHandlersTest() { repos::CreateRepository(home_.context(), u"demo"); }

  WMIObject Windows(const std::u16string& sid) {
    WMIObject object = host_.Spawn(u"Kelvarion_WindowsAccount");
    object.Set(kSid, sid);
    return object;
  }
  WMIObject Named(const std::u16string& class_name, const std::u16string& name) {
    WMIObject object = host_.Spawn(class_name);
    object.Set(kName, name);
    return object;
  }
  Objects WindowsAccounts(const Strings& sids) {
    Objects objects;
    for (const std::u16string& sid : sids) objects.push_back(Windows(sid));
    return objects;
  }
  static Strings Sids(const Objects& objects) {
    Strings sids;
    for (const WMIObject& object : objects) {
      EXPECT_EQ(object.ClassName(), u"Kelvarion_WindowsAccount");
      sids.push_back(object.Get(kSid));
    }
    return sids;
  }
  std::u16string Descriptor(const std::u16string& place) {
    std::u16string quoted;
    for (const char16_t c : place) {
      if (c == u'"' || c == u'\\') quoted += u'\\';
      quoted += c;
    }
    return u"Kelvarion_SecurityDescriptor.AssociatedObject=\"" + quoted + u"\"";
  }
  Strings Places() {
    Strings places;
    for (const WMIObject& object : host_.Enumerate(u"Kelvarion_SecurityDescriptor").objects)
      places.push_back(object.Get(kAssociatedObject));
    return places;
  }
  void SetRule(const std::u16string& path, const Account& account) {
    access::SetPathPermissions(home_.context(), {u"demo", path}, {{account, AccessLevel::ReadOnly}},
                               access::ResetChildren::kNo);
  }

  TestHome home_;
  ProviderHost host_{home_.machine()};
};

TEST_F(AccessHandlersTest, EveryPlaceWithRulesHasADescriptorAndNoOtherHas) {
  const std::u16string entry =
      u"Kelvarion_RepositoryEntry.RepositoryName=\"demo\",Path=\"/a \\\"b\\\"\"";
  repos::CreateRepository(home_.context(), u"empty");
  EXPECT_TRUE(Places().empty());
  SetRule(u"/", Account::Group(u"devs"));
  SetRule(u"/a \"b\"", Account::Everyone());
  EXPECT_EQ(Places(), (Strings{kDemo, entry}));

  home_.configuration().SetUseWindowsAuth(true);
  EXPECT_TRUE(Places().empty()) << "the rules of the other mode";
  access::SetGlobalPermissions(home_.context(),
                               {{Account::Windows(u"S-1-5-18"), AccessLevel::ReadWrite}});
  SetRule(u"/trunk", Account::Windows(u"S-1-1-0"));
  EXPECT_EQ(
      Places(),
      (Strings{kServer, u"Kelvarion_RepositoryEntry.RepositoryName=\"demo\",Path=\"/trunk\""}));
  EXPECT_EQ(host_.Get(Descriptor(u"kelvarion_service.Name=\"x\"")).status, S_OK);
  home_.configuration().SetUseWindowsAuth(false);

  const struct {
    std::u16string place;
    HRESULT status;
  } rows[] = {
      {kDemo, S_OK},
      {u"Kelvarion_Repository.Name=\"DEMO\"", S_OK},
      {entry, S_OK},
      {u"Kelvarion_RepositoryEntry.Path=\"/\",RepositoryName=\"demo\"", S_OK},
      {u"Kelvarion_RepositoryEntry.RepositoryName=\"demo\",Path=\"/trunk\"", WBEM_E_NOT_FOUND},
      {u"Kelvarion_Repository.Name=\"empty\"", WBEM_E_NOT_FOUND},
      {u"Kelvarion_Repository.Name=\"none\"", WBEM_E_NOT_FOUND},
      {kServer, WBEM_E_NOT_FOUND},
      {u"Kelvarion_User.Name=\"alice\"", WBEM_E_INVALID_METHOD_PARAMETERS},
      {u"Kelvarion_RepositoryEntry.Path=\"/\"", WBEM_E_INVALID_OBJECT_PATH},
      {u"Kelvarion_Repository", WBEM_E_INVALID_OBJECT_PATH},
      {u"no path", WBEM_E_INVALID_OBJECT_PATH},
  };
  for (const auto& row : rows) {
    const Answer answer = host_.Get(Descriptor(row.place));
    EXPECT_EQ(answer.status, row.status) << platform::Utf8ForDisplay(row.place);
    if (answer.status != S_OK) continue;
    EXPECT_EQ(answer.object().Get(kAssociatedObject), row.place);
    const Objects rules = answer.object().Get(kPermissions);
    if (rules.size() != 1) FAIL() << rules.size();
    EXPECT_EQ(rules[0].Get(kAccessLevel), 1u);
    EXPECT_EQ(rules[0].Get(kAccount).Get(kName), row.place == entry ? u"Everyone" : u"devs");
  }
  EXPECT_TRUE(host_.Get(Descriptor(u"Kelvarion_User.Name=\"alice\""))
                  .Message()
                  .starts_with(u"Security settings for class 'Kelvarion_User' not supported"));
  EXPECT_EQ(host_.Put(host_.Spawn(u"Kelvarion_SecurityDescriptor")).status, WBEM_E_NOT_SUPPORTED);
  EXPECT_EQ(host_.Delete(Descriptor(kDemo)).status, WBEM_E_NOT_SUPPORTED);
}

TEST_F(AccessHandlersTest, GlobalRulesGoInAndOut) {
  const auto set = [&] {
    return host_.Call(u"Kelvarion_Repository", u"SetGlobalSecurity", [&](WMIObject& in) {
      WMIObject entry = host_.Spawn(u"Kelvarion_PermissionEntry");
      entry.Set(kAccount, Windows(u"S-1-5-18"));
      entry.Set(kAccessLevel, 2);
      in.Set(kPermissions, {entry});
    });
  };
  const auto get = [&] {
    return host_.Call(u"Kelvarion_Repository", u"GetGlobalSecurity").object().Get(kPermissions);
  };
  const Answer refused = set();
  EXPECT_EQ(refused.status, WBEM_E_FAILED);
  EXPECT_EQ(refused.Message(),
            u"Global permissions are not supported for Subversion authentication.");
  EXPECT_TRUE(get().empty());
  home_.configuration().SetUseWindowsAuth(true);
  EXPECT_EQ(set().status, S_OK);
  ASSERT_EQ(get().size(), 1u);
  EXPECT_EQ(get()[0].Get(kAccount).Get(kSid), u"S-1-5-18");
}

// The methods that take and give a list of the machine's accounts.
struct AccountList {
  std::u16string path;
  std::u16string name;  // Get…, Set…
  const char16_t* list;
  bool has_switch;
};

class AccountListTest : public AccessHandlersTest,
                        public ::testing::WithParamInterface<AccountList> {
 protected:
  Answer Set(const ProviderHost::Fill& fill) {
    return host_.Call(GetParam().path, u"Set" + GetParam().name, [&](WMIObject& in) {
      if (GetParam().has_switch) in.Set(kEnabled, true);
      fill(in);
    });
  }
  Answer Set(const Objects& accounts) {
    return Set([&](WMIObject& in) { in.Set(list_, accounts); });
  }
  Strings Get() {
    const Answer answer = host_.Call(GetParam().path, u"Get" + GetParam().name);
    return answer.status == S_OK ? Sids(answer.object().Get(list_)) : Strings{u"failed"};
  }

  const Property<Objects> list_{GetParam().list};
};

TEST_P(AccountListTest, IsReplacedAsAWhole) {
  EXPECT_EQ(Get(), Strings{});
  const Strings accounts{u"S-1-22-1-33", u"S-1-5-18"};
  EXPECT_EQ(Set(WindowsAccounts(accounts)).status, S_OK);
  EXPECT_EQ(Get(), accounts);
  EXPECT_EQ(Set(Objects{}).status, S_OK);
  EXPECT_EQ(Get(), Strings{});
}

TEST_P(AccountListTest, IsLeftAloneByWhatIsNoListOfAccounts) {
  Set(WindowsAccounts({u"S-1-5-18"}));
  const auto accounts = [&](const WMIObject& second) {
    return [this, second](WMIObject& in) { in.Set(list_, {Windows(u"S-1-1-0"), second}); };
  };
  const auto raw = [&](const Variant& value) {
    return [this, value](WMIObject& in) { in.object()->Put(list_.name, 0, value, 0); };
  };
  const struct {
    ProviderHost::Fill fill;
    HRESULT status;
    std::u16string said;
  } rows[] = {
      {accounts(Named(u"Kelvarion_User", u"alice")), WBEM_E_INVALID_METHOD_PARAMETERS,
       u"'Kelvarion_User' is not an account of the machine"},
      {accounts(Named(u"Kelvarion_Repository", u"demo")), WBEM_E_FAILED,
       u"'Kelvarion_Repository' is not an account"},
      {accounts(host_.Spawn(u"Kelvarion_WindowsAccount")), WBEM_E_INVALID_METHOD_PARAMETERS,
       u"has no 'SID'"},
      {accounts(Windows(u"alice")), WBEM_E_FAILED, u"Cannot parse SID string"},
      {raw(Variant::MakeNull()), WBEM_E_FAILED, list_.name},
      {raw(Variant::FromArray(VT_UNKNOWN, {Variant::MakeNull()})), WBEM_E_FAILED, list_.name},
  };
  for (const auto& row : rows) {
    const Answer answer = Set(row.fill);
    EXPECT_EQ(answer.status, row.status) << platform::Utf8ForDisplay(row.said);
    EXPECT_NE(answer.Message().find(row.said), std::u16string::npos)
        << platform::Utf8ForDisplay(answer.Message());
  }
  EXPECT_EQ(Get(), Strings{u"S-1-5-18"});
}

INSTANTIATE_TEST_SUITE_P(
    All, AccountListTest,
    ::testing::Values(AccountList{u"Kelvarion_Repository.Name=\" demo \"", u"DelegationSettings",
                                  u"Managers", true},
                      AccountList{kServer, u"RepositorySupervisors", u"Supervisors", false},
                      AccountList{kServer, u"ServerAdmins", u"Admins", false}),
    [](const auto& each) { return platform::Utf8ForDisplay(each.param.name); });

TEST_F(AccessHandlersTest, OnlyAMasterHasReplicationSettings) {
  const struct {
    const char16_t* path;
    HRESULT status;
  } rows[] = {{kDemo, WBEM_E_NOT_SUPPORTED},
              {u"Kelvarion_Repository.Name=\"none\"", WBEM_E_NOT_FOUND},
              {u"Kelvarion_Repository.Name=\" \"", WBEM_E_INVALID_OBJECT_PATH}};
  for (const auto& row : rows) {
    EXPECT_EQ(host_.Call(row.path, u"GetReplicationSettings").status, row.status);
    EXPECT_EQ(host_
                  .Call(row.path, u"SetReplicationSettings",
                        [](WMIObject& in) {
                          in.Set(kEnabled, true);
                          in.Set(Property<Objects>{u"Replicators"}, {});
                        })
                  .status,
              row.status);
  }
}

TEST_F(AccessHandlersTest, AdministratorsWhoRemoveThemselvesAreWarned) {
  host_.SetClient(ClientToken{u"S-1-22-1-1", {u"S-1-22-2-4000"}});
  const struct {
    Strings admins;
    std::size_t warnings;
  } steps[] = {
      {{u"S-1-22-1-5000"}, 0},                           // Who was none can lose nothing.
      {{u"S-1-22-1-1"}, 0},    {{u"S-1-22-2-4000"}, 0},  // Still one, through a group.
      {{u"S-1-22-1-5000"}, 1}, {{u"S-1-1-0"}, 0},       {{}, 1},
  };
  for (const auto& step : steps) {
    const Answer answer = host_.Call(kServer, u"SetServerAdmins", [&](WMIObject& in) {
      in.Set(Property<Objects>{u"Admins"}, WindowsAccounts(step.admins));
    });
    EXPECT_EQ(answer.status, S_OK);
    EXPECT_EQ(answer.warnings.size(), step.warnings) << (&step - steps);
  }
}

}  // namespace
}  // namespace kelvarion
