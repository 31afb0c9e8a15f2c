// Import, upgrade, capability and size through the provider's entry points.
#include <gtest/gtest.h>

#include <filesystem>

#include "platform/text/encoding.h"
#include "repos/create.h"
#include "tests/provider_host/provider_host.h"
#include "tests/support/process.h"
#include "tests/support/test_home.h"

namespace kelvarion {
namespace {

using testing::Answer;
using testing::ProviderHost;
using testing::TestHome;

constexpr const char16_t* kDemo = u"Kelvarion_Repository.Name=\"DEMO\"";
constexpr const char16_t* kNone = u"Kelvarion_Repository.Name=\"none\"";

class RepositoryMaintenanceTest : public ::testing::Test {
 protected:
  RepositoryMaintenanceTest() { repos::CreateRepository(home_.context(), u"demo"); }

  Answer Import(const std::u16string& name, const std::u16string& path, std::uint32_t mode,
                const testing::SinkOptions& sink = {}) {
    return host_.Call(
        u"Kelvarion_Repository", u"ImportRepository",
        [&](WMIObject& in) {
          in.Set(Property<std::u16string>{u"Name"}, name);
          in.Set(Property<std::u16string>{u"ImportPath"}, path);
          in.Set(Property<std::uint32_t>{u"ImportMode"}, mode);
        },
        nullptr, sink);
  }
  std::u16string Path(const std::string& name) {
    return platform::Utf16ForDisplay(home_.root() + "/" + name);
  }
  static constexpr Property<std::uint32_t> kResult{u"ReturnValue"};

  TestHome home_;
  ProviderHost host_{home_.machine()};
};

TEST_F(RepositoryMaintenanceTest, BothModesImportAndOthersAreRefused) {
  const std::string dump = home_.folder() + "/dump";
  ASSERT_EQ(
      testing::RunProcess({"svnadmin", "dump", "-q", "-F", dump, home_.root() + "/demo"}).exit_code,
      0);
  const std::u16string dump_path = platform::Utf16ForDisplay(dump);
  EXPECT_EQ(Import(u"copy", Path("demo"), 0).status, S_OK);
  const Answer loaded = Import(u"loaded", dump_path, 1);
  EXPECT_EQ(loaded.status, S_OK);
  ASSERT_FALSE(loaded.progress.empty());
  EXPECT_EQ(loaded.progress[0].activity,
            u"Import-SvnRepository -Path \"" + dump_path + u"\" -DestinationName \"loaded\"");
  EXPECT_EQ(Import(u"other", dump_path, 2).status, WBEM_E_INVALID_METHOD_PARAMETERS);
  EXPECT_EQ(Import(u"other", u"relative", 0).status, WBEM_E_FAILED);
  EXPECT_FALSE(std::filesystem::exists(home_.root() + "/other"));
}

TEST_F(RepositoryMaintenanceTest, AnswersAndStatusesAreThoseOfTheRepository) {
  EXPECT_EQ(host_.Call(kDemo, u"Upgrade").status, S_OK);
  EXPECT_EQ(host_.Call(kNone, u"Upgrade").status, WBEM_E_NOT_FOUND);
  const auto capability = [&](const char16_t* name) {
    return host_.Call(kDemo, u"HasCapability", [&](WMIObject& in) {
      in.Set(Property<std::u16string>{u"Capability"}, name);
    });
  };
  EXPECT_TRUE(capability(u"mergeinfo").object().Get(Property<bool>{u"ReturnValue"}));
  EXPECT_EQ(capability(u"teleport").status, WBEM_E_FAILED);
  const auto type = [&](const std::u16string& path) {
    return host_.Call(u"Kelvarion_Repository", u"GetImportSourceType",
                      [&](WMIObject& in) { in.Set(Property<std::u16string>{u"Path"}, path); });
  };
  EXPECT_EQ(type(Path("demo")).object().Get(kResult), 0u);
  EXPECT_EQ(type(u"demo").Message(), u"'demo' is not an absolute or a network path.");
  const auto size = [&](const char16_t* path, const char16_t* property) {
    return host_.Call(path, u"GetSize").object().Get(Property<std::u16string>{property});
  };
  EXPECT_NE(size(kDemo, u"Size"), u"0");
  EXPECT_NE(size(kDemo, u"TotalFolders"), u"0");
  for (const char16_t* property : {u"Size", u"SizeOnDisk", u"TotalFiles", u"TotalFolders"})
    EXPECT_EQ(size(kNone, property), u"0");
}

}  // namespace
}  // namespace kelvarion
