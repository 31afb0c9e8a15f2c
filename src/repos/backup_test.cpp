#include "repos/backup.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <svn_error_codes.h>

#include <filesystem>

#include "errors/exception.h"
#include "platform/text/encoding.h"
#include "repos/create.h"
#include "repos/repositories_for_test.h"
#include "repos/repository_store.h"
#include "svn/error.h"

namespace kelvarion::repos {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using testing::RunProcess;
using testing::WriteFile;
namespace fs = std::filesystem;

class BackupTest : public RepositoriesTest {
 protected:
  BackupTest() {
    fs::create_directories(home_.folder() + "/backups");
    CreateRepository(context(), u"demo");
    WriteFile(path("demo/conf/Kelvarion-SvnAuthz.ini"), "rules");
    WriteFile(path("demo/hooks/mine"), "hook");
    const auto commit =
        RunProcess({"svnmucc", "-m", "one", "mkdir", "file://" + path("demo") + "/a"});
    EXPECT_EQ(commit.exit_code, 0) << commit.all();
  }
  std::string backup(const std::string& name = "") { return home_.folder() + "/backups/" + name; }
  std::string Back(const std::string& to, const IcCancelCallback* cancel = nullptr) {
    return Failure([&] { BackupRepository(context(), u"Demo", Wide(to), {}, cancel); });
  }
  std::string Restore(const std::u16string& name, const IcCancelCallback* cancel = nullptr) {
    return Failure([&] { RestoreRepository(context(), Wide(backup("one")), name, {}, cancel); });
  }
};

TEST_F(BackupTest, ARepositoryComesBackAsItWasUnderAnyFreeName) {
  EXPECT_EQ(Back(backup("one")), "");
  EXPECT_THAT(NamesIn(backup()), ::testing::ElementsAre("one"));
  EXPECT_EQ(fs::status(backup("one")).permissions(), fs::perms::owner_all);
  EXPECT_THAT(Restore(u"demo"), HasSubstr("Can't create directory"));
  EXPECT_THAT(Restore(u"DEMO"), HasSubstr("already exists"));
  fs::rename(path("demo"), home_.folder() + "/original");
  for (const char16_t* name : {u"demo", u"other"}) {
    EXPECT_EQ(Restore(name), "");
    const std::string native = path(platform::Utf8ForDisplay(name));
    for (const char* file : {"/conf/Kelvarion-SvnAuthz.ini", "/hooks/mine", "/db/revs/0/1"})
      EXPECT_EQ(testing::ReadFile(native + file),
                testing::ReadFile(home_.folder() + "/original" + file));
    EXPECT_EQ(RunProcess({"svnlook", "uuid", native}).out,
              RunProcess({"svnlook", "uuid", home_.folder() + "/original"}).out);
    EXPECT_NE(fs::status(native).permissions(), fs::perms::owner_all);
  }
}

TEST_F(BackupTest, WhatCannotBeBackedUpLeavesNothing) {
  fs::create_directories(backup("taken"));
  EXPECT_THAT(Back(backup("taken")), HasSubstr("never replaces anything"));
  EXPECT_THAT(Back("relative"), HasSubstr("is not an absolute or a network path."));
  EXPECT_NE(Back(backup("no/such/folder")), "");
  for (const char* inside : {"copy", "demo/copy", "other/../copy"})
    EXPECT_THAT(Back(path(inside)), HasSubstr("a backup must not"));
  fs::create_directories(backup(".one.kelvarion-partial/of a killed one"));
  fs::permissions(path("demo/db/revs/0/1"), fs::perms::owner_write, fs::perm_options::add);
  std::string bytes = testing::ReadFile(path("demo/db/revs/0/1"));
  bytes[bytes.find("type: dir") + 6] = 'x';
  WriteFile(path("demo/db/revs/0/1"), bytes);
  EXPECT_THAT(Back(backup("one")), HasSubstr("is damaged:\nError verifying revision 1."));
  EXPECT_THAT(NamesIn(backup()), ::testing::ElementsAre("taken"));
}

TEST_F(BackupTest, CancelledAtAnyMomentItLeavesNothing) {
  int asked = 0;
  for (;; ++asked) {
    const CancelAt cancel(asked);
    const std::string failure = Back(backup("one"), &cancel);
    if (failure.empty()) break;
    ASSERT_EQ(failure, "The repository backup has been cancelled.");
    ASSERT_THAT(NamesIn(backup()), IsEmpty());
  }
  EXPECT_GT(asked, 5);
  for (asked = 0;; ++asked) {
    const CancelAt cancel(asked);
    const std::string failure = Restore(u"back", &cancel);
    if (failure.empty()) break;
    ASSERT_EQ(failure, "The repository restore has been cancelled.");
    ASSERT_FALSE(fs::exists(path("back")));
  }
  EXPECT_FALSE(fs::exists(path(".kelvarion")));
}

}  // namespace
}  // namespace kelvarion::repos
