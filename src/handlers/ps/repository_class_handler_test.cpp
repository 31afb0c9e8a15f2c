#include "handlers/ps/repository_class_handler.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "platform/files/files.h"
#include "platform/text/encoding.h"
#include "repos/create.h"
#include "tests/provider_host/provider_host.h"
#include "tests/support/process.h"
#include "tests/support/test_home.h"

namespace kelvarion {
namespace {

using testing::Answer;
using Strings = std::vector<std::u16string>;
using Parameters = std::vector<std::pair<const char16_t*, const char16_t*>>;

class PsRepositoryTest : public ::testing::Test {
 protected:
  PsRepositoryTest() {
    for (const char16_t* name : {u"repo10", u"repo2", u"Repo1"})
      repos::CreateRepository(home_.context(), name);
  }
  Answer Call(const std::u16string& path, const char16_t* method, const Parameters& texts,
              std::pair<const char16_t*, std::uint32_t> number = {nullptr, 0}) {
    if (texts.empty() && !number.first) return host_.Call(path, method);
    return host_.Call(path, method, [&](WMIObject& in) {
      for (const auto& [name, value] : texts) in.Set(Property<std::u16string>{name}, value);
      if (number.first) in.Set(Property<std::uint32_t>{number.first}, number.second);
    });
  }
  static std::u16string Name(const Answer& answer) {
    if (answer.objects.empty()) return answer.Message();
    return answer.object()
        .Get(Property<WMIObject>{u"CmdletOutput"})
        .Get(Property<std::u16string>{u"Name"});
  }
  std::u16string Path(const std::string& name) {
    return platform::PathFromNative(home_.folder() + "/" + name);
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

struct Refusal {
  const char16_t* path;
  const char16_t* method;
  Parameters texts;
  std::pair<const char16_t*, std::uint32_t> number;
  HRESULT status;
  const char16_t* message;
};

constexpr HRESULT kInvalid = WBEM_E_INVALID_METHOD_PARAMETERS;
constexpr const char16_t* kClass = u"PS_SvnRepository";
constexpr const char16_t* kOwn = u"PS_SvnRepository.Name=\"repo2\"";
const Refusal kRefusals[] = {
    {kClass, u"Create", {{u"Name", u"x"}}, {u"Type", 3}, kInvalid, u""},
    {kClass,
     u"Create",
     {{u"Name", u"x"}, {u"MasterServer", u"m"}},
     {u"Type", 0},
     kInvalid,
     u"Parameter 'MasterServer' cannot be specified when creating a repository of this type"},
    {kClass,
     u"Create",
     {{u"Name", u"x"}, {u"MasterRepository", u"m"}},
     {u"Type", 1},
     kInvalid,
     u"Parameter 'MasterRepository' cannot be specified when creating a repository of this type"},
    {kClass,
     u"Create",
     {{u"Name", u"x"}},
     {u"Type", 2},
     kInvalid,
     u"Parameter 'MasterServer' must be defined when creating a repository of this type"},
    {kOwn,
     u"Convert",
     {},
     {u"TargetType", 2},
     kInvalid,
     u"Unsupported value for 'TargetType' parameter"},
    {kOwn, u"Convert", {}, {u"TargetType", 3}, kInvalid, u""},
    {kOwn, u"Switch", {}, {u"Role", 2}, kInvalid, u""},
    {kOwn,
     u"Switch",
     {{u"MasterServer", u"m"}},
     {u"Role", 0},
     kInvalid,
     u"Parameter 'MasterServer' cannot be specified when converting to OrmuMaster repository"},
    {kOwn,
     u"Switch",
     {},
     {u"Role", 0},
     WBEM_E_FAILED,
     u"This operation is supported only for slave ORMU repositories."},
    {kOwn,
     u"Switch",
     {{u"MasterServer", u"m"}},
     {u"Role", 1},
     WBEM_E_FAILED,
     u"This operation is supported only for master ORMU repositories."},
    {kOwn,
     u"Set",
     {{u"MasterServer", u"m"}},
     {nullptr, 0},
     WBEM_E_NOT_SUPPORTED,
     u"This operation is only supported for ORMU slave repositories"},
    {kOwn,
     u"Sync",
     {},
     {nullptr, 0},
     WBEM_E_FAILED,
     u"This operation is supported only for slave ORMU repositories."},
    {kOwn,
     u"Suspend",
     {},
     {nullptr, 0},
     WBEM_E_FAILED,
     u"This operation is supported only for ORMU repositories."},
    {kOwn,
     u"GetReplication",
     {},
     {nullptr, 0},
     WBEM_E_NOT_SUPPORTED,
     u"This operation is only supported for ORMU master repositories"},
    {kClass,
     u"Import",
     {{u"Path", u"dumps/a"}},
     {nullptr, 0},
     kInvalid,
     u"Parameter 'Path' should be absolute or a network path to the repository or dump file you "
     u"would like to import"},
    {kClass,
     u"Import",
     {{u"Path", u"/none/a.dump"}},
     {nullptr, 0},
     WBEM_E_FAILED,
     u"The path '/none/a.dump' does not exist."},
    {u"PS_SvnRepository.Name=\"none\"", u"Test", {}, {nullptr, 0}, WBEM_E_NOT_FOUND, u""},
};

TEST_F(PsRepositoryTest, RefusedParametersChangeNothingAndAreNamed) {
  for (const Refusal& row : kRefusals) {
    const Answer answer = Call(row.path, row.method, row.texts, row.number);
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
  for (const char* name : {"project.dump", "tree.dump.1"})
    std::ofstream(home_.folder() + "/" + name, std::ios::binary) << dump;
  std::filesystem::create_directories(home_.folder() + "/elsewhere");
  testing::RunProcess({"svnadmin", "hotcopy", repository, home_.folder() + "/elsewhere/proj"});

  const struct {
    std::u16string path;
    const char16_t* destination;
    const char16_t* name;
  } rows[] = {
      {Path("project.dump"), nullptr, u"project"}, {Path("tree.dump.1"), nullptr, u"tree.dump"},
      {Path("project.dump"), u"other", u"other"},  {Path("elsewhere/proj/"), nullptr, u"proj"},
      {Path("elsewhere/proj"), u"copy", u"copy"},
  };
  for (const auto& row : rows) {
    Parameters texts{{u"Path", row.path.c_str()}};
    if (row.destination) texts.emplace_back(u"DestinationName", row.destination);
    EXPECT_EQ(Name(Call(u"PS_SvnRepository", u"Import", texts)), row.name);
    const Answer stats =
        Call(u"PS_SvnRepository.Name=\"" + std::u16string(row.name) + u"\"", u"Measure", {});
    const WMIObject result = stats.object().Get(Property<WMIObject>{u"CmdletOutput"});
    EXPECT_EQ(result.Get(Property<std::uint32_t>{u"Revisions"}), 1u);
  }
}

TEST_F(PsRepositoryTest, ChangesAreReturnedOnDemand) {
  const auto rename = [&](const char16_t* from, const char16_t* to, bool pass) {
    return host_.Call(u"PS_SvnRepository.Name=\"" + std::u16string(from) + u"\"", u"Rename",
                      [&](WMIObject& in) {
                        in.Set(Property<std::u16string>{u"NewName"}, to);
                        in.Set(Property<bool>{u"PassThru"}, pass);
                      });
  };
  EXPECT_EQ(Name(rename(u"repo1", u"New", true)), u"New");
  EXPECT_TRUE(rename(u"new", u"Old", false).objects.empty());
  EXPECT_EQ(Name(Call(u"PS_SvnRepository", u"Create", {{u"Name", u"made"}}, {u"Type", 0})),
            u"made");
  EXPECT_EQ(Call(u"PS_SvnRepository.Name=\"made\"", u"Remove", {}).status, S_OK);

  const auto test = [&] {
    const Answer answer = Call(u"PS_SvnRepository.Name=\"repo2\"", u"Test", {});
    const WMIObject result = answer.object().Get(Property<WMIObject>{u"CmdletOutput"});
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
