#include "handlers/ps/repository_class_handler.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "platform/text/encoding.h"
#include "repos/create.h"
#include "tests/provider_host/provider_host.h"
#include "tests/support/process.h"
#include "tests/support/test_home.h"

namespace kelvarion {
namespace {

using testing::Answer;
using Strings = std::vector<std::u16string>;

class PsRepositoryTest : public ::testing::Test {
 protected:
  PsRepositoryTest() {
    for (const char16_t* name : {u"repo10", u"repo2", u"Repo1"})
      repos::CreateRepository(home_.context(), name);
  }
  // "REPOSITORY METHOD NAME=VALUE …", where the class itself is "*" and a value a digit, true or
  // text.
  Answer Call(const std::string& text) {
    std::istringstream words(text);
    std::u16string repository, method;
    const auto next = [&](std::u16string& word) {
      std::string native;
      words >> native;
      word = platform::Utf16ForDisplay(native);
      return !word.empty();
    };
    next(repository) && next(method);
    const std::u16string path =
        u"PS_SvnRepository" + (repository == u"*" ? u"" : u".Name=\"" + repository + u"\"");
    std::vector<std::u16string> parameters;
    for (std::u16string word; next(word);) parameters.push_back(word);
    if (parameters.empty()) return host_.Call(path, method);
    return host_.Call(path, method, [&](WMIObject& in) {
      for (const std::u16string& parameter : parameters) {
        const std::size_t sign = parameter.find(u'=');
        const std::u16string name = parameter.substr(0, sign), value = parameter.substr(sign + 1);
        if (value.size() == 1 && value < u":")
          in.Set(Property<std::uint32_t>{name.c_str()}, std::uint32_t{value[0]} - u'0');
        else if (value == u"true")
          in.Set(Property<bool>{name.c_str()}, true);
        else
          in.Set(Property<std::u16string>{name.c_str()}, value);
      }
    });
  }
  static std::u16string Name(const Answer& answer) {
    if (answer.objects.empty()) return answer.Message();
    return answer.object()
        .Get(Property<WMIObject>{u"CmdletOutput"})
        .Get(Property<std::u16string>{u"Name"});
  }

  testing::TestHome home_;
  testing::ProviderHost host_{home_.machine()};
};

TEST_F(PsRepositoryTest, RepositoriesAreListedForPeopleAndFoundInAnyCase) {
  Strings names;
  for (const WMIObject& each : host_.Enumerate(u"PS_SvnRepository").objects)
    names.push_back(each.Get(Property<std::u16string>{u"Name"}));
  EXPECT_EQ(names, (Strings{u"Repo1", u"repo2", u"repo10"}));
  const Answer found = host_.Get(u"PS_SvnRepository.Name=\"REPO2\"");
  EXPECT_EQ(found.object().Get(Property<std::u16string>{u"Name"}), u"repo2");
  EXPECT_FALSE(found.object().Get(Property<bool>{u"LogAddressing"}));
  EXPECT_EQ(host_.Get(u"PS_SvnRepository.Name=\"none\"").status, WBEM_E_NOT_FOUND);
}

TEST_F(PsRepositoryTest, RefusedParametersChangeNothingAndAreNamed) {
  constexpr HRESULT kInvalid = WBEM_E_INVALID_METHOD_PARAMETERS;
  const struct {
    const char* call;
    HRESULT status;
    const char16_t* message;
  } rows[] = {
      {"* Create Name=x Type=3", kInvalid, u""},
      {"* Create Name=x Type=0 MasterServer=m", kInvalid,
       u"Parameter 'MasterServer' cannot be specified when creating a repository of this type"},
      {"* Create Name=x Type=1 MasterRepository=m", kInvalid,
       u"Parameter 'MasterRepository' cannot be specified when creating a repository of this type"},
      {"* Create Name=x Type=2", kInvalid,
       u"Parameter 'MasterServer' must be defined when creating a repository of this type"},
      {"repo2 Convert TargetType=2", kInvalid, u"Unsupported value for 'TargetType' parameter"},
      {"repo2 Convert TargetType=3", kInvalid, u""},
      {"repo2 Switch Role=2", kInvalid, u""},
      {"repo2 Switch Role=0 MasterServer=m", kInvalid,
       u"Parameter 'MasterServer' cannot be specified when converting to OrmuMaster repository"},
      {"repo2 Switch Role=0", WBEM_E_FAILED,
       u"This operation is supported only for slave ORMU repositories."},
      {"repo2 Switch Role=1 MasterServer=m", WBEM_E_FAILED,
       u"This operation is supported only for master ORMU repositories."},
      {"repo2 Set MasterServer=m", WBEM_E_NOT_SUPPORTED,
       u"This operation is only supported for ORMU slave repositories"},
      {"repo2 Sync", WBEM_E_FAILED,
       u"This operation is supported only for slave ORMU repositories."},
      {"repo2 Suspend", WBEM_E_FAILED, u"This operation is supported only for ORMU repositories."},
      {"repo2 GetReplication", WBEM_E_NOT_SUPPORTED,
       u"This operation is only supported for ORMU master repositories"},
      {"* Import Path=dumps/a", kInvalid,
       u"Parameter 'Path' should be absolute or a network path to the repository or dump file you "
       u"would like to import"},
      {"* Import Path=/none/a.dump", WBEM_E_FAILED, u"The path '/none/a.dump' does not exist."},
      {"none Test", WBEM_E_NOT_FOUND, u""},
  };
  for (const auto& row : rows) {
    const Answer answer = Call(row.call);
    EXPECT_EQ(answer.status, row.status);
    EXPECT_TRUE(answer.Message().starts_with(row.message))
        << platform::Utf8ForDisplay(answer.Message());
  }
  EXPECT_EQ(host_.Enumerate(u"PS_SvnRepository").objects.size(), 3u);
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
    EXPECT_EQ(Name(Call("* Import Path=" + home_.folder() + source)),
              platform::Utf16ForDisplay(name));
    const WMIObject result =
        Call(name + std::string(" Measure")).object().Get(Property<WMIObject>{u"CmdletOutput"});
    EXPECT_EQ(result.Get(Property<std::uint32_t>{u"Revisions"}), 1u);
  }
}

TEST_F(PsRepositoryTest, ChangesAreReturnedOnDemand) {
  EXPECT_EQ(Name(Call("repo1 Rename NewName=New PassThru=true")), u"New");
  EXPECT_TRUE(Call("new Rename NewName=Old").objects.empty());
  EXPECT_EQ(Name(Call("* Create Name=made Type=0")), u"made");
  EXPECT_EQ(Call("made Remove").status, S_OK);

  const auto test = [&] {
    const WMIObject result = Call("repo2 Test").object().Get(Property<WMIObject>{u"CmdletOutput"});
    return std::pair(result.Get(Property<std::uint32_t>{u"Summary"}),
                     result.Get(Property<std::u16string>{u"Details"}));
  };
  EXPECT_EQ(test(), (std::pair{0u, std::u16string(u"No errors found")}));
  std::filesystem::resize_file(home_.root() + "/repo2/db/revs/0/0", 10);
  EXPECT_EQ(test().first, 1u);
  EXPECT_FALSE(test().second.empty());
}

}  // namespace
}  // namespace kelvarion
