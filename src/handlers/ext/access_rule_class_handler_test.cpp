#include "handlers/ext/access_rule_class_handler.h"

#include <gtest/gtest.h>

#include "platform/text/encoding.h"
#include "repos/create.h"
#include "tests/provider_host/provider_host.h"
#include "tests/support/test_home.h"

namespace kelvarion {
namespace {

using platform::Utf8ForDisplay;
using testing::Answer;
using testing::ProviderHost;
using testing::TestHome;
using Text = Property<std::u16string>;
using Strings = std::vector<std::u16string>;

constexpr Text kRepository{u"Repository"};
constexpr Text kPath{u"Path"};
constexpr Text kAccount{u"Account"};
constexpr Property<std::uint32_t> kAccess{u"Access"};
constexpr const char16_t* kClass = u"Kelvarion_AccessRule";

class AccessRuleTest : public ::testing::Test {
 protected:
  AccessRuleTest() {
    for (const char16_t* name : {u"r10", u"r9"}) repos::CreateRepository(home_.context(), name);
  }

  // "r9:/trunk @devs|@devs 2"
  static Strings Lines(const std::vector<WMIObject>& rules) {
    Strings lines;
    for (const WMIObject& rule : rules)
      lines.push_back(rule.Get(kRepository) + u":" + rule.Get(kPath) + u" " + rule.Get(kAccount) +
                      u"|" + rule.Get(Text{u"AccountName"}) + u" " +
                      static_cast<char16_t>(u'0' + rule.Get(kAccess)));
    return lines;
  }
  Answer Run(const std::u16string& method, const Strings& place_and_account,
             std::optional<std::uint32_t> access = {}, bool force = false) const {
    return host_.Call(kClass, method, [&](WMIObject& in) {
      in.Set(kRepository, place_and_account.at(0));
      in.Set(kPath, place_and_account.at(1));
      if (place_and_account.size() > 2) in.Set(kAccount, place_and_account[2]);
      if (access) in.Set(kAccess, *access);
      if (force) in.Set(Property<bool>{u"Force"}, true);
    });
  }
  Strings Select(const std::u16string& repository, const std::u16string& path) const {
    const Answer answer = Run(u"Select", {repository, path});
    return Lines(answer.object().Get(Property<std::vector<WMIObject>>{u"Rules"}));
  }

  TestHome home_;
  ProviderHost host_{home_.machine()};
};

TEST_F(AccessRuleTest, SubversionsAccountsAreWrittenAsTheirRulesFileHasThem) {
  const struct {
    Strings place_and_account;
    std::uint32_t access;
    bool force;
    HRESULT status;
    std::size_t warnings;
  } steps[] = {
      {{u"R9", u"/", u"alice"}, 2, false, S_OK, 0},
      {{u"r9", u"/", u"alice"}, 0, false, WBEM_E_ALREADY_EXISTS, 0},
      {{u"r9", u"/", u"alice"}, 1, true, S_OK, 0},
      {{u"r9", u"/", u"Alice"}, 1, false, S_OK, 0},
      {{u"r9", u"/trunk", u"alice"}, 0, false, S_OK, 0},
      {{u"r9", u"/trunk", u"@devs"}, 2, false, S_OK, 1},  // There is no such group.
      {{u"r10", u"/", u"*"}, 1, false, S_OK, 0},
      {{u"r9", u"/", u"*"}, 3, false, WBEM_E_INVALID_METHOD_PARAMETERS, 0},
      {{u"r9", u"/", u"~bob"}, 1, false, WBEM_E_INVALID_METHOD_PARAMETERS, 0},
      {{u"r9", u"/", u""}, 1, false, WBEM_E_INVALID_METHOD_PARAMETERS, 0},
      {{u"r9", u"/a/", u"bob"}, 1, false, WBEM_E_INVALID_METHOD_PARAMETERS, 0},
      {{u"none", u"/", u"bob"}, 1, false, WBEM_E_NOT_FOUND, 0},
      {{u"*", u"/", u"bob"}, 1, false, WBEM_E_FAILED, 0},
  };
  for (const auto& step : steps) {
    const Answer answer = Run(u"Add", step.place_and_account, step.access, step.force);
    EXPECT_EQ(answer.status, step.status)
        << Utf8ForDisplay(step.place_and_account[2]) << Utf8ForDisplay(answer.Message());
    EXPECT_EQ(answer.warnings.size(), step.warnings);
  }
  const Strings everything{u"r9:/ Alice|Alice 1", u"r9:/ alice|alice 1", u"r9:/trunk @devs|@devs 2",
                           u"r9:/trunk alice|alice 0", u"r10:/ *|* 1"};
  EXPECT_EQ(Lines(host_.Enumerate(kClass).objects), everything);
  const ComPtr<IWbemContext> one = MakeContext();
  one->SetValue(u"QueryOption_RepositoryName", 0, Variant::FromString(u"R10"));
  EXPECT_EQ(Lines(host_.Enumerate(kClass, one.Get()).objects), Strings{everything[4]});
  EXPECT_EQ(Select(u"r9", u"/trunk/x/y"), (Strings{everything[2], everything[3], everything[0]}));
  EXPECT_EQ(Select(u"r9", u"/trunkx"), (Strings{everything[0], everything[1]}));
  EXPECT_EQ(Run(u"Select", {u"r9", u"trunk"}).status, WBEM_E_INVALID_METHOD_PARAMETERS);
  EXPECT_EQ(
      Lines(host_.Get(u"Kelvarion_AccessRule.Account=\"*\",Path=\"/\",Repository=\"R10\"").objects),
      Strings{everything[4]});

  EXPECT_TRUE(Run(u"Remove", {u"r10", u"/", u"*"}).warnings.empty());
  const Answer again = Run(u"Remove", {u"r10", u"/", u"*"});
  EXPECT_EQ(again.status, S_OK);
  EXPECT_EQ(again.warnings, Strings{u"There was no rule for '*' at / of the repository 'r10'."});
}

TEST_F(AccessRuleTest, AccountsOfTheMachineAreGivenByNameOrSid) {
  home_.configuration().SetUseWindowsAuth(true);
  const Strings global{u"*", u"/", u"NT AUTHORITY\\SYSTEM"};
  EXPECT_EQ(Run(u"Add", global, 1).status, S_OK);
  EXPECT_EQ(Run(u"Add", {u"r9", u"/", u"s-1-5-21-1-2-3-4"}, 2).status, S_OK);
  EXPECT_EQ(Run(u"Add", {u"r9", u"/", u"*"}, 0).status, S_OK);
  EXPECT_EQ(Run(u"Add", {u"r9", u"/", u"no such account"}, 2).status, WBEM_E_FAILED);
  const std::u16string system = u"*:/ S-1-5-18|NT AUTHORITY\\SYSTEM 1";
  const std::u16string gone = u"r9:/ S-1-5-21-1-2-3-4|*S-1-5-21-1-2-3-4 2";
  const std::u16string everyone = u"r9:/ *|Everyone 0";
  EXPECT_EQ(Lines(host_.Enumerate(kClass).objects), (Strings{system, everyone, gone}));
  EXPECT_EQ(Select(u"r9", u"/x"), (Strings{everyone, gone, system}));
  EXPECT_EQ(Select(u"*", u"/"), Strings{system});
  EXPECT_TRUE(Run(u"Remove", global).warnings.empty());
  EXPECT_EQ(Lines(host_.Enumerate(kClass).objects), (Strings{everyone, gone}));
}

}  // namespace
}  // namespace kelvarion
