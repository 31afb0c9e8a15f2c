// The classes as their clients meet them: statuses, messages and objects of whole requests.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <map>

#include "platform/text/compare.h"
#include "platform/text/encoding.h"
#include "provider/class_handler_table.h"
#include "tests/provider_host/provider_host.h"
#include "tests/support/test_home.h"

namespace kelvarion {
namespace {

using testing::Answer;
using ::testing::IsEmpty;
using testing::ProviderHost;
using testing::TestHome;
using ::testing::UnorderedElementsAreArray;
using Strings = std::vector<std::u16string>;

constexpr Property<std::u16string> kName{u"Name"};
constexpr Property<std::u16string> kPath{u"Path"};
constexpr Property<std::u16string> kPassword{u"Password"};
constexpr Property<Strings> kMembersIn{u"Members"};
constexpr Property<std::vector<WMIObject>> kMembersOut{u"Members"};
constexpr Property<std::vector<WMIObject>> kPermissions{u"Permissions"};
constexpr Property<bool> kResetChildren{u"ResetChildren"};

class HandlersTest : public ::testing::Test {
 protected:
  Answer CallWithName(const std::u16string& class_name, const std::u16string& method,
                      const std::u16string& name) {
    return host_.Call(class_name, method, [&](WMIObject& in) {
      in.Set(kName, name);
      if (!platform::EqualIgnoreCase(method, u"Create")) return;
      if (class_name == u"Kelvarion_User") in.Set(kPassword, u"secret");
      if (class_name == u"Kelvarion_Group") in.Set(kMembersIn, Strings{});
    });
  }
  Answer SetMembers(const std::u16string& group, const Strings& members) {
    return host_.Call(u"Kelvarion_Group.Name=\"" + group + u"\"", u"SetMembers",
                      [&](WMIObject& in) { in.Set(kMembersIn, members); });
  }
  Strings Names(const std::vector<WMIObject>& objects) {
    Strings names;
    for (const WMIObject& object : objects)
      names.push_back(object.ClassName().substr(10) + u":" + object.Get(kName));
    return names;
  }

  TestHome home_;
  ProviderHost host_{home_.machine()};
};

// Classes without a handler are those that exist only embedded in others.
TEST_F(HandlersTest, EveryDeclaredMethodIsBoundAndNoOther) {
  const ClassHandlerTable table(host_.name_space(), nullptr, home_.configuration(), home_.events(),
                                *home_.machine());
  std::map<std::u16string, Strings> bound;
  for (const IAbstractClassHandler* handler : table.handlers())
    EXPECT_TRUE(bound.emplace(handler->GetClassName(), handler->MethodNames()).second)
        << platform::Utf8ForDisplay(handler->GetClassName()) << " is served twice";
  std::vector<ComPtr<IWbemClassObject>> classes;
  ASSERT_EQ(host_.schema()->CreateClassEnum(u"", 0, nullptr, &classes), S_OK);
  for (const ComPtr<IWbemClassObject>& each : classes) {
    Strings declared;
    ASSERT_EQ(each->GetMethodNames(&declared), S_OK);
    const std::u16string name = WMIObject(each).ClassName();
    EXPECT_THAT(bound[name], UnorderedElementsAreArray(declared)) << platform::Utf8ForDisplay(name);
    bound.erase(name);
  }
  EXPECT_THAT(bound, IsEmpty()) << "classes that the schema does not have";
}

TEST_F(HandlersTest, UsersAndGroupsEndWithTheStatusOfWhatHappened) {
  constexpr HRESULT kExists = HresultFromWin32(ERROR_ALREADY_EXISTS);
  const struct {
    const char16_t* class_name;
    const char16_t* method;
    const char16_t* name;
    HRESULT status;
  } steps[] = {
      {u"Kelvarion_User", u"Create", u"alice", S_OK},
      {u"Kelvarion_User", u"CREATE", u"bob", S_OK},
      {u"Kelvarion_User", u"Create", u"alice", kExists},
      {u"Kelvarion_User", u"Create", u"Alice", S_OK},
      {u"Kelvarion_User", u"Create", u"~bob", WBEM_E_INVALID_METHOD_PARAMETERS},
      {u"Kelvarion_User", u"Create", u"a:b", WBEM_E_INVALID_METHOD_PARAMETERS},
      {u"Kelvarion_User", u"Delete", u"Alice", S_OK},
      {u"Kelvarion_User", u"Delete", u"Alice", WBEM_E_NOT_FOUND},
      {u"Kelvarion_Group", u"Create", u"devs", S_OK},
      {u"Kelvarion_Group", u"Create", u"testers", S_OK},
      {u"Kelvarion_Group", u"Create", u"devs", kExists},
      {u"Kelvarion_Group", u"Create", u"a=b", WBEM_E_INVALID_METHOD_PARAMETERS},
      {u"Kelvarion_Group", u"Delete", u"nobody", S_OK},
  };
  for (const auto& step : steps)
    EXPECT_EQ(CallWithName(step.class_name, step.method, step.name).status, step.status)
        << platform::Utf8ForDisplay(step.method) << ' ' << platform::Utf8ForDisplay(step.name);
  EXPECT_EQ(Names(host_.Enumerate(u"Kelvarion_User").objects),
            (Strings{u"User:alice", u"User:bob"}));
  EXPECT_EQ(host_.Get(u"Kelvarion_User.Name=\"ALICE\"").status, WBEM_E_NOT_FOUND);
  const auto set_password = [&](const std::u16string& path) {
    return host_.Call(path, u"SetPassword", [](WMIObject& in) { in.Set(kPassword, u"new"); });
  };
  EXPECT_EQ(set_password(u"Kelvarion_User.Name=\"alice\"").status, S_OK);
  EXPECT_EQ(set_password(u"Kelvarion_User.Name=\"nobody\"").status, S_OK);
  EXPECT_EQ(set_password(u"Kelvarion_User").status, WBEM_E_INVALID_OBJECT_PATH);
}

TEST_F(HandlersTest, MembersComeInAsPathsAndGoOutAsObjects) {
  CallWithName(u"Kelvarion_Group", u"Create", u"devs");
  CallWithName(u"Kelvarion_Group", u"Create", u"testers");
  const struct {
    const char16_t* group;
    Strings members;
    HRESULT status;
  } steps[] = {
      {u"devs", {u"Kelvarion_User.Name=\"alice\"", u"kelvarion_group.Name=\"testers\""}, S_OK},
      {u"testers", {u"Kelvarion_Group.Name=\"devs\""}, WBEM_E_CIRCULAR_REFERENCE},
      {u"nobody", {}, WBEM_E_NOT_FOUND},
      {u"testers", {u"Kelvarion_Everyone.Name=\"Everyone\""}, WBEM_E_INVALID_METHOD_PARAMETERS},
      {u"testers", {u"no path at all ="}, WBEM_E_INVALID_OBJECT_PATH},
  };
  for (const auto& step : steps)
    EXPECT_EQ(SetMembers(step.group, step.members).status, step.status);
  const Answer answer = host_.Call(u"Kelvarion_Group.Name=\"devs\"", u"GetMembers");
  ASSERT_EQ(answer.objects.size(), 1u);
  EXPECT_EQ(Names(answer.object().Get(kMembersOut)), (Strings{u"User:alice", u"Group:testers"}));
}

TEST_F(HandlersTest, RulesGoInAndComeOutAsTheyWere) {
  ASSERT_EQ(CallWithName(u"Kelvarion_Repository", u"Create", u"Demo").status, S_OK);
  const auto rule = [&](const char16_t* account_class, const char16_t* name, std::uint32_t level) {
    WMIObject account = host_.Spawn(account_class);
    account.Set(kName, name);
    WMIObject entry = host_.Spawn(u"Kelvarion_PermissionEntry");
    entry.Set(Property<WMIObject>{u"Account"}, account);
    entry.Set(Property<std::uint32_t>{u"AccessLevel"}, level);
    return entry;
  };
  const auto set = [&](const std::u16string& repository, const std::u16string& path) {
    return host_.Call(
        u"Kelvarion_Repository.Name=\"" + repository + u"\"", u"SetSecurity", [&](WMIObject& in) {
          in.Set(kPath, path);
          in.Set(kPermissions,
                 {rule(u"Kelvarion_User", u"alice", 2), rule(u"Kelvarion_Group", u"devs", 1),
                  rule(u"Kelvarion_Everyone", u"Everyone", 0)});
          in.Set(kResetChildren, false);
        });
  };
  const struct {
    const char16_t* repository;
    const char16_t* path;
    HRESULT status;
  } steps[] = {
      {u" demo\u00A0", u"\u3000/ ", S_OK},
      {u"demo", u"/trunk", S_OK},
      {u"demo", u"", WBEM_E_INVALID_OBJECT_PATH},
      {u"  ", u"/", WBEM_E_INVALID_OBJECT_PATH},
      {u"other", u"/", WBEM_E_NOT_FOUND},
      {u"demo", u"trunk", WBEM_E_INVALID_METHOD_PARAMETERS},
      {u"demo", u"/trunk/", WBEM_E_INVALID_METHOD_PARAMETERS},
      {u"demo", u"/a]b", WBEM_E_INVALID_METHOD_PARAMETERS},
      {u"..", u"/", WBEM_E_INVALID_METHOD_PARAMETERS},
  };
  for (const auto& step : steps) {
    const Answer answer = set(step.repository, step.path);
    EXPECT_EQ(answer.status, step.status)
        << platform::Utf8ForDisplay(step.repository) << ' ' << platform::Utf8ForDisplay(step.path)
        << ' ' << platform::Utf8ForDisplay(answer.Message());
    // A rule for a group that does not exist locks everybody out until it does.
    EXPECT_EQ(answer.warnings.size(), answer.status == S_OK ? 1u : 0u);
  }
  const Answer answer = host_.Call(u"Kelvarion_Repository.Name=\"Demo\"", u"GetSecurity",
                                   [](WMIObject& in) { in.Set(kPath, u"/trunk"); });
  ASSERT_EQ(answer.objects.size(), 1u);
  Strings seen;
  for (const WMIObject& entry : answer.object().Get(kPermissions)) {
    const WMIObject account = entry.Get(Property<WMIObject>{u"Account"});
    const char16_t level =
        static_cast<char16_t>(u'0' + entry.Get(Property<std::uint32_t>{u"AccessLevel"}));
    seen.push_back(account.ClassName().substr(10) + u":" + account.Get(kName) + u"=" + level);
  }
  EXPECT_EQ(seen, (Strings{u"Everyone:Everyone=0", u"Group:devs=1", u"User:alice=2"}));
}

TEST_F(HandlersTest, RepositoriesAreFoundIgnoringCaseAndHaveNullsForWhatIsUnknown) {
  ASSERT_EQ(CallWithName(u"Kelvarion_Repository", u"Create", u"Demo").status, S_OK);
  EXPECT_EQ(CallWithName(u"Kelvarion_Repository", u"Create", u"demo").status, WBEM_E_FAILED);
  const Answer answer = host_.Get(u"Kelvarion_Repository.Name=\"dEMO\"");
  ASSERT_EQ(answer.status, S_OK) << platform::Utf8ForDisplay(answer.Message());
  const WMIObject& demo = answer.object();
  EXPECT_EQ(demo.Get(kName), u"Demo");
  EXPECT_EQ(demo.Get(Property<std::uint32_t>{u"Type"}), 0u);
  EXPECT_EQ(demo.Get(Property<std::uint32_t>{u"TotalRevisions"}), 0u);
  EXPECT_EQ(demo.Get(Property<std::uint32_t>{u"LogAddressing"}), 0u);
  EXPECT_TRUE(demo.IsNull(Property<std::u16string>{u"MasterServer"}));
  EXPECT_TRUE(demo.Get(Property<bool>{u"InheritedOnlyPermissions"}));
  EXPECT_EQ(host_.Enumerate(u"Kelvarion_Repository").objects.size(), 1u);
  EXPECT_EQ(CallWithName(u"Kelvarion_Repository", u"Delete", u"DEMO").status, S_OK);
  EXPECT_EQ(host_.Get(u"Kelvarion_Repository.Name=\"Demo\"").status, WBEM_E_NOT_FOUND);
}

TEST_F(HandlersTest, TheServiceIsOneInstanceWhoseMethodsNeedItsKey) {
  EXPECT_EQ(host_.Get(u"Kelvarion_Service.Name=\"kelvarionserver\"").status, S_OK);
  EXPECT_EQ(host_.Get(u"Kelvarion_Service.Name=\"ormusvc\"").status, WBEM_E_NOT_FOUND);
  EXPECT_EQ(host_.Call(u"Kelvarion_Service.Name=\"ormusvc\"", u"StopService").status,
            WBEM_E_NOT_FOUND);
  const std::u16string path = u"Kelvarion_Service.Name=\"KelvarionServer\"";
  EXPECT_EQ(host_.Call(path, u"Nothing").status, WBEM_E_INVALID_METHOD);
  std::filesystem::create_directories(home_.install_folder() + "/conf");
  // Only 1 selects Windows accounts.
  const Answer set = host_.Call(path, u"SetAuthenticationOptions", [](WMIObject& in) {
    in.Set(Property<std::uint32_t>{u"AuthType"}, 2);
    in.Set(Property<bool>{u"WindowsBasic"}, true);
    in.Set(Property<bool>{u"WindowsIntegrated"}, false);
    in.Set(Property<bool>{u"UseUPNFormat"}, true);
  });
  EXPECT_EQ(set.status, S_OK) << platform::Utf8ForDisplay(set.Message());
  const Answer answer = host_.Enumerate(u"Kelvarion_Service");
  ASSERT_EQ(answer.objects.size(), 1u);
  EXPECT_EQ(answer.object().Get(Property<std::uint32_t>{u"AuthType"}), 0u);
  EXPECT_TRUE(answer.object().Get(Property<bool>{u"UseUPNFormat"}));
  const Answer refused = host_.Call(path, u"SetRepositoriesURLPrefix", [](WMIObject& in) {
    in.Set(Property<std::u16string>{u"RepositoriesURLPrefix"}, u"/");
  });
  EXPECT_EQ(refused.status, WBEM_E_INVALID_METHOD_PARAMETERS);
  EXPECT_TRUE(refused.Message().starts_with(u"Invalid repositories URL prefix"));
  Strings properties;
  answer.object().object()->GetNames(&properties);
  for (const std::u16string& name : properties)
    EXPECT_FALSE(answer.object().IsNull(Property<bool>{name.c_str()}))
        << platform::Utf8ForDisplay(name);
  EXPECT_EQ(host_.Call(path, u"StopService").status, WBEM_E_FAILED) << "it is not running";
}

}  // namespace
}  // namespace kelvarion
