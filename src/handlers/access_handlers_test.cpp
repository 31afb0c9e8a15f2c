// What clients see of access: descriptors of places, global rules, delegation, administrators.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "access/permission_model.h"
#include "repos/create.h"
#include "tests/provider_host/provider_host.h"
#include "tests/support/real_server.h"
#include "tests/support/test_home.h"

namespace kelvarion {
namespace {

using testing::Answer;
using testing::RealServer;
using Words = std::vector<std::string>;

const std::string kServer = "Kelvarion_Service.Name=\"KelvarionServer\"";
const std::string kDemo = "Kelvarion_Repository.Name=\"demo\"";
constexpr HRESULT kInvalid = WBEM_E_INVALID_METHOD_PARAMETERS;

class AccessHandlersTest : public ::testing::Test {
 protected:
  AccessHandlersTest() { repos::CreateRepository(home_.context(), u"demo"); }

  static std::string Descriptor(const std::string& place) {
    std::string quoted;
    for (const char c : place)
      quoted += c == '"' || c == '\\' ? std::string{'\\', c} : std::string{c};
    return "Kelvarion_SecurityDescriptor.AssociatedObject=\"" + quoted + "\"";
  }
  Words Places() {
    Words places;
    for (const host::Json& each : host_.List("Kelvarion_SecurityDescriptor").all())
      places.push_back(each["AssociatedObject"]);
    return places;
  }
  void SetRule(const char* path, const char* account) {
    const Words words = RealServer::SetRules("demo", path, {{account, 1}});
    EXPECT_EQ(host_.Call(words[1], words[2], {words.begin() + 3, words.end()}).status, S_OK);
  }

  testing::TestHome home_;
  testing::ProviderHost host_{home_.machine()};
};

TEST_F(AccessHandlersTest, EveryPlaceWithRulesHasADescriptorAndNoOtherHas) {
  const std::string entry =
      "Kelvarion_RepositoryEntry.RepositoryName=\"demo\",Path=\"/a \\\"b\\\"\"";
  repos::CreateRepository(home_.context(), u"empty");
  EXPECT_EQ(Places(), Words());
  SetRule("/", "@devs");
  SetRule("/a \"b\"", "*");
  EXPECT_EQ(Places(), (Words{kDemo, entry}));

  home_.configuration().SetUseWindowsAuth(true);
  EXPECT_EQ(Places(), Words()) << "the rules of the other mode";
  access::SetGlobalPermissions(
      home_.context(), {{access::Account::Windows(u"S-1-5-18"), access::AccessLevel::ReadWrite}});
  SetRule("/trunk", "S-1-1-0");
  EXPECT_EQ(Places(),
            (Words{kServer, "Kelvarion_RepositoryEntry.RepositoryName=\"demo\",Path=\"/trunk\""}));
  EXPECT_EQ(host_.Get(Descriptor("kelvarion_service.Name=\"x\"")).status, S_OK);
  home_.configuration().SetUseWindowsAuth(false);

  const std::pair<std::string, HRESULT> rows[] = {
      {kDemo, S_OK},
      {"Kelvarion_Repository.Name=\"DEMO\"", S_OK},
      {entry, S_OK},
      {"Kelvarion_RepositoryEntry.Path=\"/\",RepositoryName=\"demo\"", S_OK},
      {"Kelvarion_RepositoryEntry.RepositoryName=\"demo\",Path=\"/trunk\"", WBEM_E_NOT_FOUND},
      {"Kelvarion_Repository.Name=\"empty\"", WBEM_E_NOT_FOUND},
      {"Kelvarion_Repository.Name=\"none\"", WBEM_E_NOT_FOUND},
      {kServer, WBEM_E_NOT_FOUND},
      {"Kelvarion_User.Name=\"alice\"", kInvalid},
      {"Kelvarion_RepositoryEntry.Path=\"/\"", WBEM_E_INVALID_OBJECT_PATH},
      {"Kelvarion_Repository", WBEM_E_INVALID_OBJECT_PATH},
      {"no path", WBEM_E_INVALID_OBJECT_PATH},
  };
  for (const auto& [place, status] : rows) {
    const Answer answer = host_.Get(Descriptor(place));
    EXPECT_EQ(answer.status, status) << place;
    if (answer.status != S_OK) continue;
    EXPECT_EQ(answer.out()["AssociatedObject"], place);
    const host::Json rules = answer.out()["Permissions"];
    ASSERT_EQ(rules.size(), 1u);
    EXPECT_EQ(rules[0]["AccessLevel"], 1);
    EXPECT_EQ(rules[0]["Account"]["Name"], place == entry ? "Everyone" : "devs");
  }
  EXPECT_THAT(host_.Get(Descriptor("Kelvarion_User.Name=\"alice\"")).said(),
              ::testing::StartsWith("Security settings for class 'Kelvarion_User' not supported"));
}

TEST_F(AccessHandlersTest, GlobalRulesGoInAndOut) {
  const auto set = [&] {
    return host_.Call("Kelvarion_Repository", "SetGlobalSecurity",
                      {R"(Permissions:=[{"AccessLevel":2,"Account":)"
                       R"({"__CLASS":"Kelvarion_WindowsAccount","SID":"S-1-5-18"}}])"});
  };
  const auto get = [&] {
    return host_.Call("Kelvarion_Repository", "GetGlobalSecurity").out()["Permissions"];
  };
  EXPECT_EQ(set().said(), "Global permissions are not supported for Subversion authentication.");
  EXPECT_TRUE(get().empty());
  home_.configuration().SetUseWindowsAuth(true);
  EXPECT_EQ(set().status, S_OK);
  ASSERT_EQ(get().size(), 1u);
  EXPECT_EQ(get()[0]["Account"]["SID"], "S-1-5-18");
}

// The methods that take and give a list of the machine's accounts.
struct AccountList {
  std::string path;
  std::string name;  // Get…, Set…
  std::string list;
  bool has_switch;
};

class AccountListTest : public AccessHandlersTest,
                        public ::testing::WithParamInterface<AccountList> {
 protected:
  Answer Set(const std::string& accounts) {
    Words parameters{GetParam().list + ":=" + accounts};
    if (GetParam().has_switch) parameters.push_back("Enabled=true");
    return host_.Call(GetParam().path, "Set" + GetParam().name, parameters);
  }
  Words Get() {
    Words sids;
    const host::Json out = host_.Call(GetParam().path, "Get" + GetParam().name).out();
    for (const host::Json& each : out[GetParam().list]) sids.push_back(each["SID"]);
    return sids;
  }
};

TEST_P(AccountListTest, IsReplacedAsAWholeAndLeftAloneByWhatIsNoListOfAccounts) {
  EXPECT_EQ(Get(), Words());
  const Words accounts{"S-1-22-1-33", "S-1-5-18"};
  EXPECT_EQ(Set(RealServer::Accounts(accounts)).status, S_OK);
  EXPECT_EQ(Get(), accounts);
  const std::string system = R"([{"__CLASS":"Kelvarion_WindowsAccount","SID":"S-1-5-18"},)";
  const struct {
    std::string second;
    HRESULT status;
    const char* said;
  } rows[] = {
      {R"({"__CLASS":"Kelvarion_User","Name":"alice"}])", kInvalid,
       "'Kelvarion_User' is not an account of the machine"},
      {R"({"__CLASS":"Kelvarion_Repository","Name":"demo"}])", WBEM_E_FAILED,
       "'Kelvarion_Repository' is not an account"},
      {R"({"__CLASS":"Kelvarion_WindowsAccount"}])", kInvalid, "has no 'SID'"},
      {R"({"__CLASS":"Kelvarion_WindowsAccount","SID":"alice"}])", WBEM_E_FAILED,
       "Cannot parse SID string"},
  };
  for (const auto& row : rows) {
    const Answer answer = Set(system + row.second);
    EXPECT_EQ(answer.status, row.status) << row.said;
    EXPECT_THAT(answer.said(), ::testing::HasSubstr(row.said));
  }
  EXPECT_EQ(Get(), accounts);
  EXPECT_EQ(Set("[]").status, S_OK);
  EXPECT_EQ(Get(), Words());
}

INSTANTIATE_TEST_SUITE_P(All, AccountListTest,
                         ::testing::Values(AccountList{"Kelvarion_Repository.Name=\" demo \"",
                                                       "DelegationSettings", "Managers", true},
                                           AccountList{kServer, "RepositorySupervisors",
                                                       "Supervisors", false},
                                           AccountList{kServer, "ServerAdmins", "Admins", false}),
                         [](const auto& each) { return each.param.name; });

TEST_F(AccessHandlersTest, OnlyAMasterHasReplicationSettings) {
  const std::pair<std::string, HRESULT> rows[] = {
      {kDemo, WBEM_E_NOT_SUPPORTED},
      {"Kelvarion_Repository.Name=\"none\"", WBEM_E_NOT_FOUND},
      {"Kelvarion_Repository.Name=\" \"", WBEM_E_INVALID_OBJECT_PATH}};
  for (const auto& [path, status] : rows) {
    EXPECT_EQ(host_.Call(path, "GetReplicationSettings").status, status);
    const Words parameters{"Enabled=true", "Replicators:=[]"};
    EXPECT_EQ(host_.Call(path, "SetReplicationSettings", parameters).status, status);
  }
}

TEST_F(AccessHandlersTest, AdministratorsWhoRemoveThemselvesAreWarned) {
  host_.SetClient(ClientToken{u"S-1-22-1-1", {u"S-1-22-2-4000"}});
  const struct {
    Words admins;
    std::size_t warnings;
  } steps[] = {
      {{"S-1-22-1-5000"}, 0},                          // Who was none can lose nothing.
      {{"S-1-22-1-1"}, 0},    {{"S-1-22-2-4000"}, 0},  // Still one, through a group.
      {{"S-1-22-1-5000"}, 1}, {{"S-1-1-0"}, 0},       {{}, 1},
  };
  for (const auto& step : steps) {
    const Answer answer =
        host_.Call(kServer, "SetServerAdmins", {"Admins:=" + RealServer::Accounts(step.admins)});
    EXPECT_EQ(answer.status, S_OK);
    EXPECT_EQ(answer.warnings.size(), step.warnings) << (&step - steps);
  }
}

}  // namespace
}  // namespace kelvarion
