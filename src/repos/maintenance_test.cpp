#include "repos/maintenance.h"

#include <gtest/gtest.h>
#include <svn_error_codes.h>

#include <atomic>
#include <filesystem>
#include <thread>

#include "repos/create.h"
#include "repos/repositories_for_test.h"
#include "svn/error.h"

namespace kelvarion::repos {
namespace {

using testing::RunProcess;
using testing::WriteFile;
namespace fs = std::filesystem;

using MaintenanceTest = RepositoriesTest;

TEST_F(MaintenanceTest, AMeasureIsWhatFindAddsUp) {
  CreateRepository(context(), u"demo");
  WriteFile(path("demo/large"), std::string(100000, 'x'));
  WriteFile(path("demo/\xff\xfe not UTF-8"), "abc");
  fs::create_directories(path("demo/\xff folder/deeper"));
  WriteFile(path("demo/\xff folder/deeper/file"), "abc");
  fs::create_symlink(path("demo"), path("demo/link to a folder"));
  fs::create_hard_link(path("demo/large"), path("demo/linked"));
  ASSERT_EQ(RunProcess({"mkfifo", path("demo/pipe")}).exit_code, 0);
  ASSERT_EQ(RunProcess({"truncate", "-s", "5G", path("demo/sparse")}).exit_code, 0);
  const auto found =
      RunProcess({"sh", "-c",
                  "find '" + path("demo") +
                      "' -mindepth 1 \\( -type d -printf 'd 0 0\\n' -o -printf "
                      "'f %s %b\\n' \\) | awk '{s += $2; b += $3 * 512} /^f/ {f++} /^d/ {d++} "
                      "END {printf \"%.0f %.0f %d %d\", s, b, f, d}'"});
  const RepositorySize size = MeasureRepository(context(), u"Demo");
  EXPECT_EQ(std::to_string(size.size) + " " + std::to_string(size.size_on_disk) + " " +
                std::to_string(size.total_files) + " " + std::to_string(size.total_folders),
            found.out);
  const RepositorySize none = MeasureRepository(context(), u"none");
  EXPECT_EQ(none.size + none.size_on_disk + none.total_files + none.total_folders, 0u);
}

TEST_F(MaintenanceTest, ATreeThatChangesMeanwhileCanBeMeasured) {
  CreateRepository(context(), u"demo");
  const RepositorySize quiet = MeasureRepository(context(), u"demo");
  std::atomic<bool> stop{false};
  std::jthread other([&] {
    while (!stop) {
      for (int i = 0; i < 20; ++i)
        fs::create_directories(path("demo/x/" + std::to_string(i) + "/y"));
      fs::remove_all(path("demo/x"));
    }
  });
  for (int i = 0; i < 300; ++i) {
    const RepositorySize size = MeasureRepository(context(), u"demo");
    EXPECT_EQ(size.total_files, quiet.total_files);
    EXPECT_LE(size.total_folders, quiet.total_folders + 41);
  }
  stop = true;
}

TEST_F(MaintenanceTest, AnUpgradeBringsOldStorageToTheNewestFormat) {
  ASSERT_EQ(
      RunProcess({"svnadmin", "create", "--compatible-version", "1.4", path("old")}).exit_code, 0);
  EXPECT_EQ(testing::ReadFile(path("old/db/format")), "2\n");
  EXPECT_EQ(UpgradeRepository(context(), u"OLD"), UpgradeResult::kDone);
  EXPECT_EQ(testing::ReadFile(path("old/db/format")).substr(0, 1), "8");
  EXPECT_EQ(UpgradeRepository(context(), u"old"), UpgradeResult::kDone);
  fs::create_directories(path("folder"));
  for (const char16_t* name : {u"none", u"folder"})
    EXPECT_EQ(UpgradeRepository(context(), name), UpgradeResult::kNotFound);
  WriteFile(path("old/db/format"), "99\n");
  EXPECT_THROW(UpgradeRepository(context(), u"old"), SvnException);
}

TEST_F(MaintenanceTest, CapabilitiesAndYoungestRevisionsAreTheLibrarys) {
  CreateRepository(context(), u"demo");
  EXPECT_TRUE(HasCapability(context(), u"demo", u"mergeinfo"));
  try {
    HasCapability(context(), u"demo", u"teleport");
    ADD_FAILURE();
  } catch (const SvnException& exception) {
    EXPECT_EQ(exception.code(), SVN_ERR_UNKNOWN_CAPABILITY);
  }
  EXPECT_EQ(GetYoungestRevision(context(), u"demo"), 0);
  RunProcess({"svnmucc", "-m", "one", "mkdir", "file://" + path("demo") + "/trunk"});
  EXPECT_EQ(GetYoungestRevision(context(), u"DEMO"), 1);
  WriteFile(path("demo/db/current"), "rubbish\n");
  EXPECT_EQ(GetYoungestRevision(context(), u"demo"), std::nullopt);
  EXPECT_EQ(GetYoungestRevision(context(), u"none"), std::nullopt);
}

}  // namespace
}  // namespace kelvarion::repos
