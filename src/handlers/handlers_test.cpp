// The classes as their clients meet them: statuses, messages and objects of whole requests.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <map>

#include "platform/text/encoding.h"
#include "provider/class_handler_table.h"
#include "tests/provider_host/provider_host.h"
#include "tests/support/real_server.h"
#include "tests/support/test_home.h"

namespace kelvarion {
namespace {

using testing::Answer;
using ::testing::IsEmpty;
using testing::RealServer;
using ::testing::UnorderedElementsAreArray;
using Words = std::vector<std::string>;

constexpr HRESULT kInvalid = WBEM_E_INVALID_METHOD_PARAMETERS;

class HandlersTest : public ::testing::Test {
 protected:
  Words Names(const std::string& class_name) {
    Words names;
    for (const host::Json& each : host_.List(class_name).all()) names.push_back(each["Name"]);
    return names;
  }

  testing::TestHome home_;
  testing::ProviderHost host_{home_.machine()};
};

// Classes without a handler are those that exist only embedded in others.
TEST_F(HandlersTest, EveryDeclaredMethodIsBoundAndNoOther) {
  const ClassHandlerTable table(host_.name_space(), nullptr, home_.configuration(), home_.events(),
                                *home_.machine());
  std::map<std::u16string, std::vector<std::u16string>> bound;
  for (const IAbstractClassHandler* handler : table.handlers())
    EXPECT_TRUE(bound.emplace(handler->GetClassName(), handler->MethodNames()).second)
        << platform::Utf8ForDisplay(handler->GetClassName()) << " is served twice";
  std::vector<ComPtr<IWbemClassObject>> classes;
  ASSERT_EQ(host_.schema()->CreateClassEnum(u"", 0, nullptr, &classes), S_OK);
  for (const ComPtr<IWbemClassObject>& each : classes) {
    std::vector<std::u16string> declared;
    ASSERT_EQ(each->GetMethodNames(&declared), S_OK);
    const std::u16string name = WMIObject(each).ClassName();
    EXPECT_THAT(bound[name], UnorderedElementsAreArray(declared)) << platform::Utf8ForDisplay(name);
    bound.erase(name);
  }
  EXPECT_THAT(bound, IsEmpty()) << "classes that the schema does not have";
}

TEST_F(HandlersTest, UsersAndGroupsEndWithTheStatusOfWhatHappened) {
  constexpr HRESULT kExists = HresultFromWin32(ERROR_ALREADY_EXISTS);
  const std::string user = "Kelvarion_User", group = "Kelvarion_Group";
  const struct {
    std::string path;
    const char* method;
    Words parameters;
    HRESULT status;
  } steps[] = {
      {user, "Create", {"Name=alice", "Password=x"}, S_OK},
      {user, "CREATE", {"Name=bob", "Password=x"}, S_OK},
      {user, "Create", {"Name=alice", "Password=x"}, kExists},
      {user, "Create", {"Name=Alice", "Password=x"}, S_OK},
      {user, "Create", {"Name=~bob", "Password=x"}, kInvalid},
      {user, "Delete", {"Name=Alice"}, S_OK},
      {user, "Delete", {"Name=Alice"}, WBEM_E_NOT_FOUND},
      {user + ".Name=\"alice\"", "SetPassword", {"Password=new"}, S_OK},
      {user + ".Name=\"nobody\"", "SetPassword", {"Password=new"}, S_OK},
      {user, "SetPassword", {"Password=new"}, WBEM_E_INVALID_OBJECT_PATH},
      {group, "Create", {"Name=devs", "Members:=[]"}, S_OK},
      {group, "Create", {"Name=testers", "Members:=[]"}, S_OK},
      {group, "Create", {"Name=devs", "Members:=[]"}, kExists},
      {group, "Create", {"Name=a=b", "Members:=[]"}, kInvalid},
      {group, "Delete", {"Name=nobody"}, S_OK},
  };
  for (const auto& step : steps)
    EXPECT_EQ(host_.Call(step.path, step.method, step.parameters).status, step.status)
        << step.method << ::testing::PrintToString(step.parameters);
  EXPECT_EQ(Names("Kelvarion_User"), (Words{"alice", "bob"}));
  EXPECT_EQ(host_.Get("Kelvarion_User.Name=\"ALICE\"").status, WBEM_E_NOT_FOUND);

  // Members come in as paths and go out as objects.
  const struct {
    const char* group;
    const char* members;
    HRESULT status;
  } changes[] = {
      {"devs", R"(["Kelvarion_User.Name=\"alice\"","kelvarion_group.Name=\"testers\""])", S_OK},
      {"testers", R"(["Kelvarion_Group.Name=\"devs\""])", WBEM_E_CIRCULAR_REFERENCE},
      {"nobody", "[]", WBEM_E_NOT_FOUND},
      {"testers", R"(["Kelvarion_Everyone.Name=\"Everyone\""])", kInvalid},
      {"testers", R"(["no path at all ="])", WBEM_E_INVALID_OBJECT_PATH},
  };
  const auto path = [](const std::string& name) { return "Kelvarion_Group.Name=\"" + name + "\""; };
  for (const auto& [name, members, status] : changes)
    EXPECT_EQ(host_.Call(path(name), "SetMembers", {std::string("Members:=") + members}).status,
              status)
        << members;
  EXPECT_EQ(host_.Call(path("devs"), "GetMembers").out()["Members"].dump(),
            R"([{"__CLASS":"Kelvarion_User","Name":"alice"},)"
            R"({"__CLASS":"Kelvarion_Group","Name":"testers"}])");
}

TEST_F(HandlersTest, RulesGoInAndComeOutAsTheyWere) {
  ASSERT_EQ(host_.Call("Kelvarion_Repository", "Create", {"Name=Demo"}).status, S_OK);
  const struct {
    const char* repository;
    const char* path;
    HRESULT status;
  } steps[] = {
      {" demo\u00A0", "\u3000/ ", S_OK},
      {"demo", "/trunk", S_OK},
      {"demo", "", WBEM_E_INVALID_OBJECT_PATH},
      {"  ", "/", WBEM_E_INVALID_OBJECT_PATH},
      {"other", "/", WBEM_E_NOT_FOUND},
      {"demo", "/trunk/", kInvalid},
      {"..", "/", kInvalid},
  };
  for (const auto& step : steps) {
    const Words words =
        RealServer::SetRules(step.repository, step.path, {{"alice", 2}, {"@devs", 1}, {"*", 0}});
    const Answer answer = host_.Call(words[1], words[2], {words.begin() + 3, words.end()});
    EXPECT_EQ(answer.status, step.status) << step.repository << ' ' << step.path;
    // A rule for a group that does not exist locks everybody out until it does.
    EXPECT_EQ(answer.warnings.size(), answer.status == S_OK ? 1u : 0u);
  }
  const host::Json out =
      host_.Call("Kelvarion_Repository.Name=\"Demo\"", "GetSecurity", {"Path=/trunk"}).out();
  Words seen;
  for (const host::Json& entry : out["Permissions"])
    seen.push_back(entry["Account"]["__CLASS"].get<std::string>() + " " +
                   entry["Account"]["Name"].get<std::string>() + entry["AccessLevel"].dump());
  EXPECT_EQ(seen, (Words{"Kelvarion_Everyone Everyone0", "Kelvarion_Group devs1",
                         "Kelvarion_User alice2"}));
}

TEST_F(HandlersTest, RepositoriesAreFoundIgnoringCaseAndHaveNullsForWhatIsUnknown) {
  const std::string repository = "Kelvarion_Repository";
  ASSERT_EQ(host_.Call(repository, "Create", {"Name=Demo"}).status, S_OK);
  EXPECT_EQ(host_.Call(repository, "Create", {"Name=demo"}).status, WBEM_E_FAILED);
  const host::Json demo = host_.Get(repository + ".Name=\"dEMO\"").out();
  EXPECT_EQ(demo["Name"], "Demo");
  for (const char* property : {"Type", "TotalRevisions", "LogAddressing"})
    EXPECT_EQ(demo[property], 0) << property;
  EXPECT_TRUE(demo["MasterServer"].is_null());
  EXPECT_EQ(demo["InheritedOnlyPermissions"], true);
  EXPECT_EQ(Names(repository), Words{"Demo"});
  EXPECT_EQ(host_.Call(repository, "Delete", {"Name=DEMO"}).status, S_OK);
  EXPECT_EQ(host_.Get(repository + ".Name=\"Demo\"").status, WBEM_E_NOT_FOUND);
}

TEST_F(HandlersTest, AnswersAboutRepositoriesAreTheirOwn) {
  const std::string demo = "Kelvarion_Repository.Name=\"DEMO\"";
  const std::string none = "Kelvarion_Repository.Name=\"none\"";
  host_.Call("Kelvarion_Repository", "Create", {"Name=demo"});
  EXPECT_EQ(host_.Call(demo, "Upgrade").status, S_OK);
  EXPECT_EQ(host_.Call(none, "Upgrade").status, WBEM_E_NOT_FOUND);
  EXPECT_EQ(host_.Call(demo, "HasCapability", {"Capability=mergeinfo"}).out()["ReturnValue"], true);
  EXPECT_EQ(host_.Call(demo, "HasCapability", {"Capability=teleport"}).status, WBEM_E_FAILED);
  const auto of_class = [&](const char* method, const Words& parameters) {
    return host_.Call("Kelvarion_Repository", method, parameters);
  };
  const std::string path = home_.root() + "/demo";
  EXPECT_EQ(of_class("GetImportSourceType", {"Path=" + path}).out()["ReturnValue"], 0);
  EXPECT_EQ(of_class("GetImportSourceType", {"Path=demo"}).said(),
            "'demo' is not an absolute or a network path.");
  const Words import{"Name=copy", "ImportPath=" + path};
  EXPECT_EQ(of_class("ImportRepository", {import[0], import[1], "ImportMode=2"}).status, kInvalid);
  const Answer copied = of_class("ImportRepository", {import[0], import[1], "ImportMode=0"});
  ASSERT_FALSE(copied.progress.empty());
  EXPECT_EQ(copied.progress[0].activity,
            platform::Utf16ForDisplay("Import-SvnRepository -Path \"" + path +
                                      "\" -DestinationName \"copy\""));
  const host::Json size = host_.Call(demo, "GetSize").out();
  EXPECT_NE(size["Size"], "0");
  EXPECT_NE(size["TotalFolders"], "0");
  for (const char* property : {"Size", "SizeOnDisk", "TotalFiles", "TotalFolders"})
    EXPECT_EQ(host_.Call(none, "GetSize").out()[property], "0");
}

TEST_F(HandlersTest, ListingsWhoseClientWantsNoMoreEndAfterTheObjectAtHand) {
  for (const char* name : {"Name=one", "Name=two", "Name=three"}) {
    host_.Call("Kelvarion_Repository", "Create", {name});
    host_.Call("Kelvarion_User", "Create", {name, "Password=x"});
    host_.Call("Kelvarion_Group", "Create", {name, "Members:=[]"});
  }
  for (const char16_t* name : {u"Kelvarion_Repository", u"Kelvarion_User", u"Kelvarion_Group"}) {
    bool cancelled = false;
    const Answer answer = host_.Enumerate(
        name, nullptr,
        {.on_indicate = [&] { cancelled = true; }, .is_cancelled = [&] { return cancelled; }});
    EXPECT_EQ(answer.status, WBEM_E_CALL_CANCELLED);
    EXPECT_EQ(answer.objects.size(), 1u);
  }
}

TEST_F(HandlersTest, TheServiceIsOneInstanceWhoseMethodsNeedItsKey) {
  const std::string other = "Kelvarion_Service.Name=\"ormusvc\"";
  const std::string service = "Kelvarion_Service.Name=\"KelvarionServer\"";
  EXPECT_EQ(host_.Get("Kelvarion_Service.Name=\"kelvarionserver\"").status, S_OK);
  EXPECT_EQ(host_.Get(other).status, WBEM_E_NOT_FOUND);
  EXPECT_EQ(host_.Call(other, "StopService").status, WBEM_E_NOT_FOUND);
  EXPECT_EQ(host_.Call(service, "Nothing").status, WBEM_E_INVALID_METHOD);
  std::filesystem::create_directories(home_.install_folder() + "/conf");
  // Only 1 selects Windows accounts.
  EXPECT_EQ(
      host_
          .Call(service, "SetAuthenticationOptions",
                {"AuthType=2", "WindowsBasic=true", "WindowsIntegrated=false", "UseUPNFormat=true"})
          .status,
      S_OK);
  const std::vector<host::Json> all = host_.List("Kelvarion_Service").all();
  ASSERT_EQ(all.size(), 1u);
  EXPECT_EQ(all[0]["AuthType"], 0);
  EXPECT_EQ(all[0]["UseUPNFormat"], true);
  for (const auto& [name, value] : all[0].items()) EXPECT_FALSE(value.is_null()) << name;
  const Answer refused =
      host_.Call(service, "SetRepositoriesURLPrefix", {"RepositoriesURLPrefix=/"});
  EXPECT_EQ(refused.status, kInvalid);
  EXPECT_TRUE(refused.Message().starts_with(u"Invalid repositories URL prefix"));
  EXPECT_EQ(host_.Call(service, "StopService").status, WBEM_E_FAILED) << "it is not running";
}

}  // namespace
}  // namespace kelvarion
