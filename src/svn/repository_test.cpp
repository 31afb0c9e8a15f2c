#include "svn/repository.h"

#include <gtest/gtest.h>
#include <svn_error_codes.h>
#include <svn_fs.h>
#include <svn_repos.h>

#include <algorithm>
#include <filesystem>
#include <thread>

#include "svn/error.h"
#include "tests/support/failure.h"
#include "tests/support/process.h"
#include "tests/support/test_home.h"

namespace kelvarion::svn {
namespace {

using testing::ProcessResult;
using testing::RunProcess;
using testing::WriteFile;

class SvnRepositoryTest : public ::testing::Test {
 protected:
  std::string Native(const std::string& name) const { return folder_.native() + "/" + name; }
  std::u16string Path(const std::u16string& name) const { return folder_.path() + u"/" + name; }

  testing::TemporaryFolder folder_;
  Pool pool_ = Pool::Root();
};

TEST_F(SvnRepositoryTest, ACreatedRepositoryIsOpenedAndTyped) {
  CreateRepository(Path(u"répo"), pool_);
  const StoreInfo info = ReadStoreInfo(OpenRepository(Path(u"répo/"), pool_), pool_);
  EXPECT_EQ(TypeOf(info), RepositoryType::Fsfs);
  ASSERT_TRUE(info.fsfs);
  EXPECT_EQ(info.fsfs->shard_size, 1000);
  EXPECT_EQ(info.fsfs->min_unpacked_revision, 0);
  EXPECT_FALSE(info.fsfs->log_addressing);
  EXPECT_EQ(RunProcess({"svnlook", "youngest", Native("répo")}).out, "0\n");
}

TEST_F(SvnRepositoryTest, WhatIsNoRepositoryIsAnErrorWithACode) {
  CreateRepository(Path(u"odd"), pool_);
  WriteFile(Native("odd/db/fs-type"), "tape\n");
  std::filesystem::create_directories(Native("empty"));
  const struct {
    std::u16string name;
    int code;
  } rows[] = {{u"none", ENOENT}, {u"empty", ENOENT}, {u"odd", SVN_ERR_FS_UNKNOWN_FS_TYPE}};
  for (const auto& row : rows) {
    try {
      OpenRepository(Path(row.name), pool_);
      ADD_FAILURE() << "opened";
    } catch (const SvnException& exception) {
      EXPECT_TRUE(exception.Has(row.code)) << exception.code();
    }
  }
  StoreInfo info;
  info.fs_type = "tape";
  EXPECT_EQ(testing::MessageOf([&] { TypeOf(info); }), u"Unknown repository type 'tape'.");
}

svn_filesize_t SizeOfFile(const std::u16string& path, const Pool& parent) {
  const Pool pool(parent);
  svn_fs_root_t* root = nullptr;
  svn_fs_t* fs = svn_repos_fs(OpenRepository(path, pool));
  Check(svn_fs_revision_root(&root, fs, 1, pool));
  svn_filesize_t size = 0;
  Check(svn_fs_file_length(&size, root, "/file", pool));
  return size;
}

// The libraries would answer from what they remember of the first repository.
TEST_F(SvnRepositoryTest, ARepositoryReplacedByOneOfTheSameUuidIsSeenAsItIs) {
  const auto make = [&](const std::string& name, const std::string& text) {
    WriteFile(Native("text"), text);
    const ProcessResult result =
        RunProcess({"sh", "-c",
                    "svnadmin create " + Native(name) + " && svnadmin setuuid " + Native(name) +
                        " 5f2b8a50-9d0a-4d3b-8f0e-2f6d1e0a7c11 && svnmucc -m new put " +
                        Native("text") + " file://" + Native(name) + "/file"});
    ASSERT_EQ(result.exit_code, 0) << result.all();
  };
  make("r", "four");
  EXPECT_EQ(SizeOfFile(Path(u"r"), pool_), 4);
  std::filesystem::remove_all(Native("r"));
  make("r", "seventeen letters");
  EXPECT_EQ(SizeOfFile(Path(u"r"), pool_), 17);
}

// Without a warning function the process would end here.
TEST_F(SvnRepositoryTest, TroubleWithTheRepresentationCacheIsAWarning) {
  CreateRepository(Path(u"r"), pool_);
  WriteFile(Native("r/db/rep-cache.db"), std::string(8192, 'x'));
  std::vector<std::u16string> warnings;
  svn_repos_t* repository = OpenRepository(
      Path(u"r"), pool_, [&](const std::u16string& text) { warnings.push_back(text); });
  svn_fs_txn_t* txn = nullptr;
  Check(svn_fs_begin_txn2(&txn, svn_repos_fs(repository), 0, 0, pool_));
  svn_fs_root_t* root = nullptr;
  Check(svn_fs_txn_root(&root, txn, pool_));
  Check(svn_fs_make_file(root, "/f", pool_));
  svn_stream_t* stream = nullptr;
  Check(svn_fs_apply_text(&stream, root, "/f", nullptr, pool_));
  Check(svn_stream_puts(stream, "text"));
  Check(svn_stream_close(stream));
  svn_revnum_t revision = SVN_INVALID_REVNUM;
  Ignore(
      svn_fs_commit_txn(nullptr, &revision, txn, pool_));  // Committed with trouble in the cache.
  EXPECT_EQ(revision, 1);
  EXPECT_FALSE(warnings.empty());
}

TEST_F(SvnRepositoryTest, OneOddNameDoesNotHideTheOtherFolders) {
  for (const char* name : {"alpha", "Ünï", "with blank", "bad\xFFname"}) {
    std::filesystem::create_directories(Native(name));
  }
  WriteFile(Native("htpasswd"), "");
  std::filesystem::create_directory_symlink(Native("alpha"), Native("link"));
  std::vector<std::u16string> skipped;
  std::vector<std::u16string> names = ListFolders(
      folder_.path(), pool_, [&](const std::u16string& name) { skipped.push_back(name); });
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::u16string>{u"alpha", u"with blank", u"Ünï"}));
  EXPECT_EQ(skipped, (std::vector<std::u16string>{u"bad\uFFFDname"}));
  EXPECT_THROW(ListFolders(Path(u"none"), pool_), SvnException);
}

TEST_F(SvnRepositoryTest, ThreadsOpenRepositoriesAtOnce) {
  CreateRepository(Path(u"r"), pool_);
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      Pool own(pool_);
      for (int round = 0; round < 50; ++round) {
        EXPECT_EQ(ReadStoreInfo(OpenRepository(Path(u"r"), own), own).fs_type, "fsfs");
        own.Clear();
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace kelvarion::svn
