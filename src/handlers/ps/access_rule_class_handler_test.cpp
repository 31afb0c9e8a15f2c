#include "handlers/ps/access_rule_class_handler.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "repos/create.h"
#include "tests/provider_host/provider_host.h"
#include "tests/support/test_home.h"

namespace kelvarion {
namespace {

using testing::Answer;
using ::testing::StartsWith;
using Words = std::vector<std::string>;

const std::string kClass = "PS_SvnAccessRule";
constexpr const char* kRoot = "S-1-22-1-0";
constexpr const char* kSystem = "S-1-5-18";
constexpr const char* kGone = "S-1-5-21-1-2-3-4";
constexpr HRESULT kInvalid = WBEM_E_INVALID_METHOD_PARAMETERS;

// A rule in one line: "Demo:/trunk S-1-5-18 NT AUTHORITY\SYSTEM 2", "global" instead of "*:/".
std::string Line(const host::Json& rule) {
  const auto text = [&](const char* name) { return rule[name].get<std::string>(); };
  const std::string place =
      rule["Global"] == true ? "global" : text("Repository") + ":" + text("Path");
  return place + " " + text("AccountId") + " " + text("AccountName") + " " + rule["Access"].dump();
}
template <class Rules>
Words Lines(const Rules& rules) {
  Words lines;
  for (const host::Json& rule : rules) lines.push_back(Line(rule));
  return lines;
}
std::string LineOut(const Answer& answer) {
  return answer.objects.empty() ? "" : Line(answer.out()["CmdletOutput"]);
}
std::string RulePath(const std::string& repository, const std::string& path,
                     const std::string& id) {
  return kClass + ".AccountId=\"" + id + "\",AccountName=\"any\",Path=\"" + path +
         "\",Repository=\"" + repository + "\"";
}

class PsAccessRuleTest : public ::testing::Test {
 protected:
  PsAccessRuleTest() {
    home_.configuration().SetUseWindowsAuth(true);
    repos::CreateRepository(home_.context(), u"Demo");
  }
  Words AllLines() const { return Lines(host_.List(kClass).all()); }
  Answer Add(const std::string& repository, const std::string& path, const std::string& id,
             int access, bool force = false) const {
    return host_.Call(kClass, "AddByRepositoryName",
                      {"Repository=" + repository, "Path=" + path, "AccountId=" + id,
                       "Access=" + std::to_string(access), force ? "Force=true" : "Force:=null"});
  }
  Answer Select(const std::string& repository, const std::string& path) const {
    return host_.Call(kClass, "SelectByRepositoryName",
                      {"Repository=" + repository, "Path=" + path});
  }

  testing::TestHome home_;
  testing::ProviderHost host_{home_.machine()};
};

TEST_F(PsAccessRuleTest, RulesAreAddedOnceAndFoundByTheirKeys) {
  const struct {
    const char* repository;
    const char* path;
    const char* id;
    int access;
    bool force;
    HRESULT status;
    const char* line;
    const char* message;
  } steps[] = {
      {"dEMO", "/", "s-1-22-1-0", 2, false, S_OK, "Demo:/ S-1-22-1-0 Unix User\\root 2", ""},
      {"Demo", "/", kRoot, 0, false, WBEM_E_ALREADY_EXISTS, "",
       "Cannot add access rule \"Demo\", \"/\", \"Unix User\\root\" because it already exists "
       "(use -Force to overwrite)"},
      {"Demo", "/", kRoot, 0, true, S_OK, "Demo:/ S-1-22-1-0 Unix User\\root 0", ""},
      {"Demo", "/a", kGone, 1, false, S_OK, "Demo:/a S-1-5-21-1-2-3-4 *S-1-5-21-1-2-3-4 1", ""},
      {"*", "/", kSystem, 1, false, S_OK, "global S-1-5-18 NT AUTHORITY\\SYSTEM 1", ""},
      {"*", "/a", kSystem, 1, false, kInvalid, "", ""},
      {"none", "/", kSystem, 1, false, WBEM_E_NOT_FOUND, "", ""},
      {"Demo", "/a/", kRoot, 1, false, kInvalid, "",
       "Cannot add access rule \"Demo\", \"/a/\", \"Unix User\\root\" because it specifies a "
       "non-canonical path '/a/'"},
      {"Demo", "/b", kRoot, 3, false, kInvalid, "", ""},
      {"Demo", "/b", "root", 1, false, WBEM_E_FAILED, "", ""},
  };
  for (const auto& step : steps) {
    SCOPED_TRACE(std::string(step.repository) + step.path + step.id);
    const Answer answer = Add(step.repository, step.path, step.id, step.access, step.force);
    EXPECT_EQ(answer.status, step.status);
    EXPECT_EQ(LineOut(answer), step.line);
    EXPECT_THAT(answer.said(), StartsWith(step.message));
  }
  const Words all{"global S-1-5-18 NT AUTHORITY\\SYSTEM 1", "Demo:/ S-1-22-1-0 Unix User\\root 0",
                  "Demo:/a S-1-5-21-1-2-3-4 *S-1-5-21-1-2-3-4 1"};
  EXPECT_EQ(AllLines(), all);
  EXPECT_EQ(Line(host_.Get(RulePath("*", "/", kSystem)).out()), all[0]);
  EXPECT_EQ(Line(host_.Get(RulePath("demo", "/a", kGone)).out()), all[2]);
  EXPECT_EQ(host_.Get(RulePath("Demo", "/a", kRoot)).status, WBEM_E_NOT_FOUND);
  EXPECT_EQ(host_.Get(kClass + ".Repository=\"Demo\"").status, WBEM_E_INVALID_OBJECT_PATH);
}

TEST_F(PsAccessRuleTest, EveryWayToAddNamesExactlyOneAccount) {
  const std::string rule =
      R"(Rule:={"__CLASS":"PS_SvnAccessRule","Repository":"Demo","Path":"/copy","Access":2)";
  const struct {
    const char* method;
    Words parameters;
    const char* line;  // Empty where it is refused.
  } rows[] = {
      {"AddByRepositoryObject",
       {R"(RepositoryObject:={"__CLASS":"PS_SvnRepository","Name":"demo"})", "Path=/o",
        "AccountName=root", "Access=1"},
       "Demo:/o S-1-22-1-0 Unix User\\root 1"},
      {"addbyglobal",
       {"AccountName=NT AUTHORITY\\SYSTEM", "Access=2"},
       "global S-1-5-18 NT AUTHORITY\\SYSTEM 2"},
      {"AddByRule",
       {rule + R"(,"AccountId":"S-1-5-21-1-2-3-4"})"},
       "Demo:/copy S-1-5-21-1-2-3-4 *S-1-5-21-1-2-3-4 2"},
      {"AddByRule", {rule + "}"}, ""},
      {"AddByGlobal", {"Access=2"}, ""},
      {"AddByGlobal", {"AccountName=root", "AccountId=S-1-22-1-0", "Access=2"}, ""},
  };
  for (const auto& row : rows) {
    const Answer answer = host_.Call(kClass, row.method, row.parameters);
    EXPECT_EQ(answer.status, *row.line ? S_OK : kInvalid) << answer.said();
    EXPECT_EQ(LineOut(answer), row.line);
  }
}

TEST_F(PsAccessRuleTest, SetMakesOrChangesAndRemoveForgives) {
  const auto set = [&](const std::string& path, int access, const char* pass_thru) {
    return host_.Call(path, "Set",
                      {"Access=" + std::to_string(access), std::string("PassThru=") + pass_thru});
  };
  const std::string path = RulePath("demo", "/trunk", kRoot);
  EXPECT_TRUE(set(path, 1, "false").objects.empty());
  EXPECT_EQ(LineOut(set(path, 2, "true")), "Demo:/trunk S-1-22-1-0 Unix User\\root 2");
  EXPECT_EQ(set(path, 9, "true").status, kInvalid);
  EXPECT_EQ(LineOut(set(RulePath("*", "/", kRoot), 1, "true")),
            "global S-1-22-1-0 Unix User\\root 1");
  EXPECT_EQ(set(kClass, 1, "true").status, WBEM_E_INVALID_OBJECT_PATH);
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(host_.Call(path, "Remove").status, S_OK);
    EXPECT_EQ(host_.Call(RulePath("*", "/", "s-1-22-1-0"), "Remove").status, S_OK);
    EXPECT_EQ(AllLines(), Words());
  }
  // Other classes can make rules for everybody.
  testing::WriteFile(home_.root() + "/Demo/conf/Kelvarion-WinAuthz.ini", "[/]\n* = r\n");
  EXPECT_EQ(AllLines(), Words{"Demo:/ * Everyone 1"});
  EXPECT_EQ(host_.Call(RulePath("Demo", "/", "*"), "Remove").status, S_OK);
  EXPECT_EQ(AllLines(), Words());
}

TEST_F(PsAccessRuleTest, TheNearestRuleOfEachAccountIsInForce) {
  Add("*", "/", kRoot, 1);
  Add("*", "/", kGone, 1);
  Add("Demo", "/", kRoot, 2);
  Add("Demo", "/", kSystem, 2);
  Add("Demo", "/trunk", kRoot, 0);
  Add("Demo", "/other", kSystem, 0);
  const std::string gone = "global S-1-5-21-1-2-3-4 *S-1-5-21-1-2-3-4 1";
  const std::string system = "Demo:/ S-1-5-18 NT AUTHORITY\\SYSTEM 2";
  const Answer found = Select("demo", "/trunk/[deep]");
  EXPECT_EQ(Lines(found.out()["CmdletOutput"]),
            (Words{"Demo:/trunk S-1-22-1-0 Unix User\\root 0", system, gone}));
  EXPECT_EQ(found.warnings,
            std::vector<std::u16string>{
                u"This command doesn't support paths with wildcard characters. Interpreting path "
                u"'/trunk/[deep]' literally."});
  EXPECT_EQ(Lines(Select("*", "/").out()["CmdletOutput"]),
            (Words{"global S-1-22-1-0 Unix User\\root 1", gone}));
  EXPECT_TRUE(Select("Demo", "/trunk").warnings.empty());
  const Answer refused = Select("Demo", "/trunk/");
  EXPECT_EQ(refused.status, kInvalid);
  EXPECT_THAT(refused.said(),
              StartsWith("Cannot select access rules for a non-canonical path '/trunk/'"));
  const Answer by_object = host_.Call(
      kClass, "SelectByRepositoryObject",
      {R"(RepositoryObject:={"__CLASS":"PS_SvnRepository","Name":"Demo"})", "Path=/trunk"});
  EXPECT_EQ(by_object.out()["CmdletOutput"].size(), 3u);
  std::filesystem::remove(home_.root() + "/Demo/conf/Kelvarion-WinAuthz.ini");
  EXPECT_EQ(Select("Demo", "/").status, WBEM_E_FAILED) << "there is no rules file";
}

TEST_F(PsAccessRuleTest, WithSubversionAuthenticationEverythingIsRefused) {
  home_.configuration().SetUseWindowsAuth(false);
  const std::string rule = RulePath("Demo", "/", kRoot);
  for (const Answer& answer :
       {host_.List(kClass), host_.Get(rule), host_.Call(rule, "Remove"), Add("Demo", "/", kRoot, 9),
        Select("Demo", "/trunk/"), host_.Call(kClass, "Nothing")}) {
    EXPECT_EQ(answer.status, WBEM_E_NOT_SUPPORTED);
    EXPECT_THAT(answer.said(), StartsWith("This operation is only supported when Kelvarion Server "
                                          "is configured to use Windows authentication"));
  }
  home_.configuration().SetUseWindowsAuth(true);
  EXPECT_EQ(host_.Call(kClass, "Nothing").status, WBEM_E_INVALID_METHOD);
}

}  // namespace
}  // namespace kelvarion
