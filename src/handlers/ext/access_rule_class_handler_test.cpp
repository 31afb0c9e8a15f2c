#include "handlers/ext/access_rule_class_handler.h"

#include <gtest/gtest.h>

#include "repos/create.h"
#include "tests/provider_host/provider_host.h"
#include "tests/support/test_home.h"

namespace kelvarion {
namespace {

using testing::Answer;
using Words = std::vector<std::string>;

const std::string kClass = "Kelvarion_AccessRule";
constexpr HRESULT kInvalid = WBEM_E_INVALID_METHOD_PARAMETERS;

// "r9:/trunk @devs|@devs 2"
template <class Rules>
Words Lines(const Rules& rules) {
  Words lines;
  for (const host::Json& rule : rules) {
    const auto text = [&](const char* name) { return rule[name].template get<std::string>(); };
    lines.push_back(text("Repository") + ":" + text("Path") + " " + text("Account") + "|" +
                    text("AccountName") + " " + rule["Access"].dump());
  }
  return lines;
}

class AccessRuleTest : public ::testing::Test {
 protected:
  AccessRuleTest() {
    for (const char16_t* name : {u"r10", u"r9"}) repos::CreateRepository(home_.context(), name);
  }
  Answer Run(const std::string& method, const Words& place, Words more = {}) const {
    more.insert(more.end(), {"Repository=" + place.at(0), "Path=" + place.at(1)});
    if (place.size() > 2) more.push_back("Account=" + place[2]);
    return host_.Call(kClass, method, more);
  }
  Words All(const Words& context = {}) const { return Lines(host_.List(kClass, context).all()); }
  Words Select(const char* repository, const char* path) const {
    return Lines(Run("Select", {repository, path}).out()["Rules"]);
  }

  testing::TestHome home_;
  testing::ProviderHost host_{home_.machine()};
};

TEST_F(AccessRuleTest, SubversionsAccountsAreWrittenAsTheirRulesFileHasThem) {
  const struct {
    Words place_and_account;
    Words access;
    HRESULT status;
    std::size_t warnings;
  } steps[] = {
      {{"R9", "/", "alice"}, {"Access=2"}, S_OK, 0},
      {{"r9", "/", "alice"}, {"Access=0"}, WBEM_E_ALREADY_EXISTS, 0},
      {{"r9", "/", "alice"}, {"Access=1", "Force=true"}, S_OK, 0},
      {{"r9", "/", "Alice"}, {"Access=1"}, S_OK, 0},
      {{"r9", "/trunk", "alice"}, {"Access=0"}, S_OK, 0},
      {{"r9", "/trunk", "@devs"}, {"Access=2"}, S_OK, 1},  // There is no such group.
      {{"r10", "/", "*"}, {"Access=1"}, S_OK, 0},
      {{"r9", "/", "*"}, {"Access=3"}, kInvalid, 0},
      {{"r9", "/", "~bob"}, {"Access=1"}, kInvalid, 0},
      {{"r9", "/a/", "bob"}, {"Access=1"}, kInvalid, 0},
      {{"none", "/", "bob"}, {"Access=1"}, WBEM_E_NOT_FOUND, 0},
      {{"*", "/", "bob"}, {"Access=1"}, WBEM_E_FAILED, 0},
  };
  for (const auto& step : steps) {
    const Answer answer = Run("Add", step.place_and_account, step.access);
    EXPECT_EQ(answer.status, step.status) << ::testing::PrintToString(step.place_and_account);
    EXPECT_EQ(answer.warnings.size(), step.warnings);
  }
  const Words everything{"r9:/ Alice|Alice 1", "r9:/ alice|alice 1", "r9:/trunk @devs|@devs 2",
                         "r9:/trunk alice|alice 0", "r10:/ *|* 1"};
  EXPECT_EQ(All(), everything);
  EXPECT_EQ(All({"QueryOption_RepositoryName=R10"}), Words{everything[4]});
  EXPECT_EQ(Select("r9", "/trunk/x/y"), (Words{everything[2], everything[3], everything[0]}));
  EXPECT_EQ(Select("r9", "/trunkx"), (Words{everything[0], everything[1]}));
  EXPECT_EQ(Run("Select", {"r9", "trunk"}).status, kInvalid);
  EXPECT_EQ(Lines(host_.Get(kClass + ".Account=\"*\",Path=\"/\",Repository=\"R10\"").all()),
            Words{everything[4]});

  EXPECT_TRUE(Run("Remove", {"r10", "/", "*"}).warnings.empty());
  const Answer again = Run("Remove", {"r10", "/", "*"});
  EXPECT_EQ(again.status, S_OK);
  EXPECT_EQ(again.warnings, std::vector<std::u16string>{
                                u"There was no rule for '*' at / of the repository 'r10'."});
}

TEST_F(AccessRuleTest, AccountsOfTheMachineAreGivenByNameOrSid) {
  home_.configuration().SetUseWindowsAuth(true);
  const Words global{"*", "/", "NT AUTHORITY\\SYSTEM"};
  EXPECT_EQ(Run("Add", global, {"Access=1"}).status, S_OK);
  EXPECT_EQ(Run("Add", {"r9", "/", "s-1-5-21-1-2-3-4"}, {"Access=2"}).status, S_OK);
  EXPECT_EQ(Run("Add", {"r9", "/", "*"}, {"Access=0"}).status, S_OK);
  EXPECT_EQ(Run("Add", {"r9", "/", "no such account"}, {"Access=2"}).status, WBEM_E_FAILED);
  const std::string system = "*:/ S-1-5-18|NT AUTHORITY\\SYSTEM 1";
  const std::string gone = "r9:/ S-1-5-21-1-2-3-4|*S-1-5-21-1-2-3-4 2";
  const std::string everyone = "r9:/ *|Everyone 0";
  EXPECT_EQ(All(), (Words{system, everyone, gone}));
  EXPECT_EQ(Select("r9", "/x"), (Words{everyone, gone, system}));
  EXPECT_EQ(Select("*", "/"), Words{system});
  EXPECT_TRUE(Run("Remove", global).warnings.empty());
  EXPECT_EQ(All(), (Words{everyone, gone}));
}

}  // namespace
}  // namespace kelvarion
