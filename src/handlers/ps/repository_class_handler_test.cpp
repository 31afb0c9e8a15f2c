#include "handlers/ps/repository_class_handler.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>
#include <sstream>

#include "repos/create.h"
#include "tests/provider_host/provider_host.h"
#include "tests/support/process.h"
#include "tests/support/test_home.h"

namespace kelvarion {
namespace {

using testing::Answer;

class PsRepositoryTest : public ::testing::Test {
 protected:
  PsRepositoryTest() {
    for (const char16_t* name : {u"repo10", u"repo2", u"Repo1"})
      repos::CreateRepository(home_.context(), name);
  }
  // "REPOSITORY METHOD NAME=VALUE …", where the class itself is "*".
  Answer Call(const std::string& text) {
    std::istringstream all(text);
    std::string repository, method;
    all >> repository >> method;
    const std::vector<std::string> parameters{std::istream_iterator<std::string>(all), {}};
    return host_.Call(
        "PS_SvnRepository" + (repository == "*" ? "" : ".Name=\"" + repository + "\""), method,
        parameters);
  }
  static host::Json Output(const Answer& answer) { return answer.out()["CmdletOutput"]; }

  testing::TestHome home_;
  testing::ProviderHost host_{home_.machine()};
};

TEST_F(PsRepositoryTest, RepositoriesAreListedForPeopleAndFoundInAnyCase) {
  std::vector<std::string> names;
  for (const host::Json& each : host_.List("PS_SvnRepository").all()) names.push_back(each["Name"]);
  EXPECT_EQ(names, (std::vector<std::string>{"Repo1", "repo2", "repo10"}));
  const host::Json found = host_.Get("PS_SvnRepository.Name=\"REPO2\"").out();
  EXPECT_EQ(found["Name"], "repo2");
  EXPECT_EQ(found["LogAddressing"], false);
  EXPECT_EQ(host_.Get("PS_SvnRepository.Name=\"none\"").status, WBEM_E_NOT_FOUND);
}

TEST_F(PsRepositoryTest, RefusedParametersChangeNothingAndAreNamed) {
  constexpr HRESULT kInvalid = WBEM_E_INVALID_METHOD_PARAMETERS;
  const struct {
    const char* call;
    HRESULT status;
    const char* message;
  } rows[] = {
      {"* Create Name=x Type=3", kInvalid, ""},
      {"* Create Name=x Type=0 MasterServer=m", kInvalid,
       "Parameter 'MasterServer' cannot be specified when creating a repository of this type"},
      {"* Create Name=x Type=1 MasterRepository=m", kInvalid,
       "Parameter 'MasterRepository' cannot be specified when creating a repository of this type"},
      {"* Create Name=x Type=2", kInvalid,
       "Parameter 'MasterServer' must be defined when creating a repository of this type"},
      {"repo2 Convert TargetType=2", kInvalid, "Unsupported value for 'TargetType' parameter"},
      {"repo2 Convert TargetType=3", kInvalid, ""},
      {"repo2 Switch Role=2", kInvalid, ""},
      {"repo2 Switch Role=0 MasterServer=m", kInvalid,
       "Parameter 'MasterServer' cannot be specified when converting to OrmuMaster repository"},
      {"repo2 Switch Role=0", WBEM_E_FAILED,
       "This operation is supported only for slave ORMU repositories."},
      {"repo2 Switch Role=1 MasterServer=m", WBEM_E_FAILED,
       "This operation is supported only for master ORMU repositories."},
      {"repo2 Set MasterServer=m", WBEM_E_NOT_SUPPORTED,
       "This operation is only supported for ORMU slave repositories"},
      {"repo2 Sync", WBEM_E_FAILED,
       "This operation is supported only for slave ORMU repositories."},
      {"repo2 Suspend", WBEM_E_FAILED, "This operation is supported only for ORMU repositories."},
      {"repo2 GetReplication", WBEM_E_NOT_SUPPORTED,
       "This operation is only supported for ORMU master repositories"},
      {"* Import Path=dumps/a", kInvalid,
       "Parameter 'Path' should be absolute or a network path to the repository or dump file you "
       "would like to import"},
      {"* Import Path=/none/a.dump", WBEM_E_FAILED, "The path '/none/a.dump' does not exist."},
      {"none Test", WBEM_E_NOT_FOUND, ""},
  };
  for (const auto& row : rows) {
    const Answer answer = Call(row.call);
    EXPECT_EQ(answer.status, row.status);
    EXPECT_TRUE(answer.said().starts_with(row.message)) << answer.said();
  }
  EXPECT_EQ(host_.List("PS_SvnRepository").objects.size(), 3u);
}

TEST_F(PsRepositoryTest, AnImportIsNamedByItsSourceUnlessNamed) {
  const std::string repository = home_.root() + "/repo2";
  testing::RunProcess({"svn", "mkdir", "-mone", "-q", "file://" + repository + "/trunk"});
  const std::string dump = testing::RunProcess({"svnadmin", "dump", "-q", repository}).out;
  for (const char* name : {"/project.dump", "/tree.dump.1"})
    testing::WriteFile(home_.folder() + name, dump);
  std::filesystem::create_directories(home_.folder() + "/elsewhere");
  testing::RunProcess({"svnadmin", "hotcopy", repository, home_.folder() + "/elsewhere/proj"});

  const std::pair<const char*, const char*> rows[] = {
      {"/project.dump", "project"},
      {"/tree.dump.1", "tree.dump"},
      {"/project.dump DestinationName=other", "other"},
      {"/elsewhere/proj/", "proj"},
  };
  for (const auto& [source, name] : rows) {
    EXPECT_EQ(Output(Call("* Import Path=" + home_.folder() + source))["Name"], name);
    EXPECT_EQ(Output(Call(name + std::string(" Measure")))["Revisions"], 1);
  }
}

TEST_F(PsRepositoryTest, ChangesAreReturnedOnDemand) {
  EXPECT_EQ(Output(Call("repo1 Rename NewName=New PassThru=true"))["Name"], "New");
  EXPECT_TRUE(Call("new Rename NewName=Old").objects.empty());
  EXPECT_EQ(Output(Call("* Create Name=made Type=0"))["Name"], "made");
  EXPECT_EQ(Call("made Remove").status, S_OK);

  const host::Json sound = Output(Call("repo2 Test"));
  EXPECT_EQ(sound["Summary"], 0);
  EXPECT_EQ(sound["Details"], "No errors found");
  std::filesystem::resize_file(home_.root() + "/repo2/db/revs/0/0", 10);
  const host::Json damaged = Output(Call("repo2 Test"));
  EXPECT_EQ(damaged["Summary"], 1);
  EXPECT_NE(damaged["Details"], "");
}

}  // namespace
}  // namespace kelvarion
