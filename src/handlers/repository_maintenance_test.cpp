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

const std::string kClass = "Kelvarion_Repository";
const std::string kDemo = "Kelvarion_Repository.Name=\"DEMO\"";
const std::string kNone = "Kelvarion_Repository.Name=\"none\"";

class RepositoryMaintenanceTest : public ::testing::Test {
 protected:
  RepositoryMaintenanceTest() { repos::CreateRepository(home_.context(), u"demo"); }

  testing::TestHome home_;
  testing::ProviderHost host_{home_.machine()};
};

TEST_F(RepositoryMaintenanceTest, BothModesImportAndOthersAreRefused) {
  const std::string dump = home_.folder() + "/dump";
  ASSERT_EQ(
      testing::RunProcess({"svnadmin", "dump", "-q", "-F", dump, home_.root() + "/demo"}).exit_code,
      0);
  const auto import = [&](const std::string& name, const std::string& path, int mode) {
    return host_.Call(kClass, "ImportRepository",
                      {"Name=" + name, "ImportPath=" + path, "ImportMode=" + std::to_string(mode)});
  };
  EXPECT_EQ(import("copy", home_.root() + "/demo", 0).status, S_OK);
  const Answer loaded = import("loaded", dump, 1);
  EXPECT_EQ(loaded.status, S_OK);
  ASSERT_FALSE(loaded.progress.empty());
  EXPECT_EQ(loaded.progress[0].activity,
            platform::Utf16ForDisplay("Import-SvnRepository -Path \"" + dump +
                                      "\" -DestinationName \"loaded\""));
  EXPECT_EQ(import("other", dump, 2).status, WBEM_E_INVALID_METHOD_PARAMETERS);
  EXPECT_EQ(import("other", "relative", 0).status, WBEM_E_FAILED);
  EXPECT_FALSE(std::filesystem::exists(home_.root() + "/other"));
}

TEST_F(RepositoryMaintenanceTest, AnswersAndStatusesAreThoseOfTheRepository) {
  EXPECT_EQ(host_.Call(kDemo, "Upgrade").status, S_OK);
  EXPECT_EQ(host_.Call(kNone, "Upgrade").status, WBEM_E_NOT_FOUND);
  const auto capability = [&](const std::string& name) {
    return host_.Call(kDemo, "HasCapability", {"Capability=" + name});
  };
  EXPECT_EQ(capability("mergeinfo").out()["ReturnValue"], true);
  EXPECT_EQ(capability("teleport").status, WBEM_E_FAILED);
  const auto type = [&](const std::string& path) {
    return host_.Call(kClass, "GetImportSourceType", {"Path=" + path});
  };
  EXPECT_EQ(type(home_.root() + "/demo").out()["ReturnValue"], 0);
  EXPECT_EQ(type("demo").Message(), u"'demo' is not an absolute or a network path.");
  const host::Json size = host_.Call(kDemo, "GetSize").out();
  EXPECT_NE(size["Size"], "0");
  EXPECT_NE(size["TotalFolders"], "0");
  for (const char* property : {"Size", "SizeOnDisk", "TotalFiles", "TotalFolders"})
    EXPECT_EQ(host_.Call(kNone, "GetSize").out()[property], "0");
}

}  // namespace
}  // namespace kelvarion
