#include "handlers/ps/access_rule_class_handler.h"

#include <gtest/gtest.h>

#include "access/permission_model.h"
#include "platform/text/encoding.h"
#include "repos/create.h"
#include "tests/provider_host/provider_host.h"
#include "tests/support/test_home.h"

namespace kelvarion {
namespace {

using access::AccessLevel;
using access::Account;
using platform::Utf8ForDisplay;
using testing::Answer;
using testing::ProviderHost;
using testing::TestHome;
using Text = Property<std::u16string>;
using Strings = std::vector<std::u16string>;

constexpr Text kRepository{u"Repository"};
constexpr Text kPath{u"Path"};
constexpr Text kAccountName{u"AccountName"};
constexpr Text kAccountId{u"AccountId"};
constexpr Property<std::uint32_t> kAccess{u"Access"};
constexpr Property<bool> kForce{u"Force"};

constexpr const char16_t* kClass = u"PS_SvnAccessRule";
constexpr const char16_t* kRoot = u"S-1-22-1-0";
constexpr const char16_t* kSystem = u"S-1-5-18";
constexpr const char16_t* kGone = u"S-1-5-21-1-2-3-4";

class PsAccessRuleTest : public ::testing::Test {
 protected:
  PsAccessRuleTest() {
    home_.configuration().SetUseWindowsAuth(true);
    repos::CreateRepository(home_.context(), u"Demo");
  }

  // A rule in one line: "Demo:/trunk S-1-5-18 NT AUTHORITY\SYSTEM 2", "global" instead of "*:/".
  static std::u16string Line(const WMIObject& rule) {
    const std::u16string place = rule.Get(Property<bool>{u"Global"})
                                     ? u"global"
                                     : rule.Get(kRepository) + u":" + rule.Get(kPath);
    return place + u" " + rule.Get(kAccountId) + u" " + rule.Get(kAccountName) + u" " +
           static_cast<char16_t>(u'0' + rule.Get(kAccess));
  }
  static std::u16string LineOut(const Answer& answer) {
    if (answer.objects.empty()) return u"";
    return Line(answer.object().Get(Property<WMIObject>{u"CmdletOutput"}));
  }
  static Strings LinesOut(const Answer& answer) {
    Strings lines;
    for (const WMIObject& rule :
         answer.object().Get(Property<std::vector<WMIObject>>{u"CmdletOutput"}))
      lines.push_back(Line(rule));
    return lines;
  }
  Strings AllLines() const {
    Strings lines;
    for (const WMIObject& rule : host_.Enumerate(kClass).objects) lines.push_back(Line(rule));
    return lines;
  }
  static std::u16string RulePath(const std::u16string& repository, const std::u16string& path,
                                 const std::u16string& id) {
    return u"PS_SvnAccessRule.AccountId=\"" + id + u"\",AccountName=\"any\",Path=\"" + path +
           u"\",Repository=\"" + repository + u"\"";
  }
  Answer Add(const std::u16string& repository, const std::u16string& path, const std::u16string& id,
             std::uint32_t access, bool force = false) const {
    return host_.Call(kClass, u"AddByRepositoryName", [&](WMIObject& in) {
      in.Set(kRepository, repository);
      in.Set(kPath, path);
      in.Set(kAccountId, id);
      in.Set(kAccess, access);
      if (force) in.Set(kForce, true);
    });
  }
  Answer Select(const std::u16string& repository, const std::u16string& path) const {
    return host_.Call(kClass, u"SelectByRepositoryName", [&](WMIObject& in) {
      in.Set(kRepository, repository);
      in.Set(kPath, path);
    });
  }
  WMIObject Named(const std::u16string& class_name, const std::u16string& name) const {
    WMIObject object = host_.Spawn(class_name);
    object.Set(Text{u"Name"}, name);
    return object;
  }

  TestHome home_;
  ProviderHost host_{home_.machine()};
};

TEST_F(PsAccessRuleTest, RulesAreAddedOnceAndFoundByTheirKeys) {
  const struct {
    const char16_t* repository;
    const char16_t* path;
    const char16_t* id;
    std::uint32_t access;
    bool force;
    HRESULT status;
    const char16_t* line;
    const char16_t* message;
  } steps[] = {
      {u"dEMO", u"/", u"s-1-22-1-0", 2, false, S_OK, u"Demo:/ S-1-22-1-0 Unix User\\root 2", u""},
      {u"Demo", u"/", kRoot, 0, false, WBEM_E_ALREADY_EXISTS, u"",
       u"Cannot add access rule \"Demo\", \"/\", \"Unix User\\root\" because it already exists "
       u"(use -Force to overwrite)"},
      {u"Demo", u"/", kRoot, 0, true, S_OK, u"Demo:/ S-1-22-1-0 Unix User\\root 0", u""},
      {u"Demo", u"/a", kGone, 1, false, S_OK, u"Demo:/a S-1-5-21-1-2-3-4 *S-1-5-21-1-2-3-4 1", u""},
      {u"*", u"/", kSystem, 1, false, S_OK, u"global S-1-5-18 NT AUTHORITY\\SYSTEM 1", u""},
      {u"*", u"/a", kSystem, 1, false, WBEM_E_INVALID_METHOD_PARAMETERS, u"", nullptr},
      {u"none", u"/", kSystem, 1, false, WBEM_E_NOT_FOUND, u"", nullptr},
      {u"Demo", u"/a/", kRoot, 1, false, WBEM_E_INVALID_METHOD_PARAMETERS, u"",
       u"Cannot add access rule \"Demo\", \"/a/\", \"Unix User\\root\" because it specifies a "
       u"non-canonical path '/a/'"},
      {u"Demo", u"/b", kRoot, 3, false, WBEM_E_INVALID_METHOD_PARAMETERS, u"", nullptr},
      {u"Demo", u"/b", u"root", 1, false, WBEM_E_FAILED, u"", nullptr},
  };
  for (const auto& step : steps) {
    SCOPED_TRACE(Utf8ForDisplay(Format(u"%s:%s %s", step.repository, step.path, step.id)));
    const Answer answer = Add(step.repository, step.path, step.id, step.access, step.force);
    EXPECT_EQ(answer.status, step.status) << Utf8ForDisplay(answer.Message());
    EXPECT_EQ(LineOut(answer), step.line);
    if (step.message) {
      EXPECT_TRUE(answer.Message().starts_with(step.message)) << Utf8ForDisplay(answer.Message());
    }
  }
  EXPECT_EQ(AllLines(), (Strings{u"global S-1-5-18 NT AUTHORITY\\SYSTEM 1",
                                 u"Demo:/ S-1-22-1-0 Unix User\\root 0",
                                 u"Demo:/a S-1-5-21-1-2-3-4 *S-1-5-21-1-2-3-4 1"}));
  EXPECT_EQ(Line(host_.Get(RulePath(u"*", u"/", kSystem)).object()),
            u"global S-1-5-18 NT AUTHORITY\\SYSTEM 1");
  EXPECT_EQ(Line(host_.Get(RulePath(u"demo", u"/a", kGone)).object()),
            u"Demo:/a S-1-5-21-1-2-3-4 *S-1-5-21-1-2-3-4 1");
  EXPECT_EQ(host_.Get(RulePath(u"Demo", u"/a", kRoot)).status, WBEM_E_NOT_FOUND);
  EXPECT_EQ(host_.Get(u"PS_SvnAccessRule.Repository=\"Demo\"").status, WBEM_E_INVALID_OBJECT_PATH);
}

TEST_F(PsAccessRuleTest, EveryWayToAddNamesExactlyOneAccount) {
  const WMIObject repository = Named(u"PS_SvnRepository", u"demo");
  const auto rule = [&](const std::optional<std::u16string>& id) {
    WMIObject object = host_.Spawn(kClass);
    object.Set(kRepository, u"Demo");
    object.Set(kPath, u"/copy");
    object.SetOptional(kAccountId, id);
    object.Set(kAccess, 2);
    return object;
  };
  const struct {
    const char16_t* method;
    ProviderHost::Fill fill;
    HRESULT status;
    const char16_t* line;
  } rows[] = {
      {u"AddByRepositoryObject",
       [&](WMIObject& in) {
         in.Set(Property<WMIObject>{u"RepositoryObject"}, repository);
         in.Set(kPath, u"/o");
         in.Set(kAccountName, u"root");
         in.Set(kAccess, 1);
       },
       S_OK, u"Demo:/o S-1-22-1-0 Unix User\\root 1"},
      {u"addbyglobal",
       [&](WMIObject& in) {
         in.Set(kAccountName, u"NT AUTHORITY\\SYSTEM");
         in.Set(kAccess, 2);
       },
       S_OK, u"global S-1-5-18 NT AUTHORITY\\SYSTEM 2"},
      {u"AddByRule", [&](WMIObject& in) { in.Set(Property<WMIObject>{u"Rule"}, rule(kGone)); },
       S_OK, u"Demo:/copy S-1-5-21-1-2-3-4 *S-1-5-21-1-2-3-4 2"},
      {u"AddByRule",
       [&](WMIObject& in) { in.Set(Property<WMIObject>{u"Rule"}, rule(std::nullopt)); },
       WBEM_E_INVALID_METHOD_PARAMETERS, u""},
      {u"AddByGlobal", [&](WMIObject& in) { in.Set(kAccess, 2); }, WBEM_E_INVALID_METHOD_PARAMETERS,
       u""},
      {u"AddByGlobal",
       [&](WMIObject& in) {
         in.Set(kAccountName, u"root");
         in.Set(kAccountId, kRoot);
         in.Set(kAccess, 2);
       },
       WBEM_E_INVALID_METHOD_PARAMETERS, u""},
  };
  for (const auto& row : rows) {
    const Answer answer = host_.Call(kClass, row.method, row.fill);
    EXPECT_EQ(answer.status, row.status) << Utf8ForDisplay(answer.Message());
    EXPECT_EQ(LineOut(answer), row.line);
  }
}

TEST_F(PsAccessRuleTest, SetMakesOrChangesAndRemoveForgives) {
  const auto set = [&](const std::u16string& path, std::uint32_t access, bool pass_thru) {
    return host_.Call(path, u"Set", [&](WMIObject& in) {
      in.Set(kAccess, access);
      if (pass_thru) in.Set(Property<bool>{u"PassThru"}, true);
    });
  };
  const std::u16string path = RulePath(u"demo", u"/trunk", kRoot);
  EXPECT_TRUE(set(path, 1, false).objects.empty());
  EXPECT_EQ(LineOut(set(path, 2, true)), u"Demo:/trunk S-1-22-1-0 Unix User\\root 2");
  EXPECT_EQ(set(path, 9, true).status, WBEM_E_INVALID_METHOD_PARAMETERS);
  EXPECT_EQ(LineOut(set(RulePath(u"*", u"/", kRoot), 1, true)),
            u"global S-1-22-1-0 Unix User\\root 1");
  EXPECT_EQ(set(kClass, 1, true).status, WBEM_E_INVALID_OBJECT_PATH);
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(host_.Call(path, u"Remove").status, S_OK);
    EXPECT_EQ(host_.Call(RulePath(u"*", u"/", u"s-1-22-1-0"), u"Remove").status, S_OK);
    EXPECT_EQ(AllLines(), Strings{});
  }
  // Other classes can make rules for everybody.
  testing::WriteFile(home_.root() + "/Demo/conf/Kelvarion-WinAuthz.ini", "[/]\n* = r\n");
  EXPECT_EQ(AllLines(), Strings{u"Demo:/ * Everyone 1"});
  EXPECT_EQ(host_.Call(RulePath(u"Demo", u"/", u"*"), u"Remove").status, S_OK);
  EXPECT_EQ(AllLines(), Strings{});
}

TEST_F(PsAccessRuleTest, TheNearestRuleOfEachAccountIsInForce) {
  Add(u"*", u"/", kRoot, 1);
  Add(u"*", u"/", kGone, 1);
  Add(u"Demo", u"/", kRoot, 2);
  Add(u"Demo", u"/", kSystem, 2);
  Add(u"Demo", u"/trunk", kRoot, 0);
  Add(u"Demo", u"/other", kSystem, 0);
  const std::u16string gone = u"global S-1-5-21-1-2-3-4 *S-1-5-21-1-2-3-4 1";
  const std::u16string system = u"Demo:/ S-1-5-18 NT AUTHORITY\\SYSTEM 2";
  EXPECT_EQ(LinesOut(Select(u"demo", u"/trunk/[deep]")),
            (Strings{u"Demo:/trunk S-1-22-1-0 Unix User\\root 0", system, gone}));
  EXPECT_EQ(LinesOut(Select(u"*", u"/")), (Strings{u"global S-1-22-1-0 Unix User\\root 1", gone}));
  EXPECT_EQ(Select(u"Demo", u"/trunk/[deep]").warnings,
            Strings{u"This command doesn't support paths with wildcard characters. Interpreting "
                    u"path '/trunk/[deep]' literally."});
  EXPECT_TRUE(Select(u"Demo", u"/trunk").warnings.empty());
  const Answer refused = Select(u"Demo", u"/trunk/");
  EXPECT_EQ(refused.status, WBEM_E_INVALID_METHOD_PARAMETERS);
  EXPECT_TRUE(refused.Message().starts_with(
      u"Cannot select access rules for a non-canonical path '/trunk/'"));
  const WMIObject repository = Named(u"PS_SvnRepository", u"Demo");
  const Answer by_object = host_.Call(kClass, u"SelectByRepositoryObject", [&](WMIObject& in) {
    in.Set(Property<WMIObject>{u"RepositoryObject"}, repository);
    in.Set(kPath, u"/trunk");
  });
  EXPECT_EQ(LinesOut(by_object).size(), 3u);
}

TEST_F(PsAccessRuleTest, WithSubversionAuthenticationEverythingIsRefused) {
  home_.configuration().SetUseWindowsAuth(false);
  const Answer answers[] = {
      host_.Enumerate(kClass),
      host_.Get(RulePath(u"Demo", u"/", kRoot)),
      host_.Call(RulePath(u"Demo", u"/", kRoot), u"Remove"),
      Add(u"Demo", u"/", kRoot, 9),
      Select(u"Demo", u"/trunk/"),
      host_.Call(kClass, u"Nothing"),
  };
  for (const Answer& answer : answers) {
    EXPECT_EQ(answer.status, WBEM_E_NOT_SUPPORTED);
    EXPECT_TRUE(answer.Message().starts_with(
        u"This operation is only supported when Kelvarion Server is configured to use Windows "
        u"authentication"));
  }
  home_.configuration().SetUseWindowsAuth(true);
  EXPECT_EQ(host_.Call(kClass, u"Nothing").status, WBEM_E_INVALID_METHOD);
}

}  // namespace
}  // namespace kelvarion
