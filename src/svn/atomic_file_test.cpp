#include "svn/atomic_file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <thread>
#include <vector>

#include "svn/error.h"
#include "tests/support/test_home.h"

namespace kelvarion::svn {
namespace {

using platform::NewFile;
using testing::ReadFile;
using testing::WriteFile;

class AtomicFileTest : public ::testing::Test {
 protected:
  std::string Native(const std::string& name) const { return folder_.native() + "/" + name; }
  std::u16string Path(const std::u16string& name) const { return folder_.path() + u"/" + name; }
  int Files() const {
    return static_cast<int>(
        std::distance(std::filesystem::directory_iterator(folder_.native()), {}));
  }

  testing::TemporaryFolder folder_;
  Pool pool_ = Pool::Root();
};

TEST_F(AtomicFileTest, AnAbandonedTextLeavesNoTrace) {
  WriteFile(Native("rules"), "old");
  {
    AtomicFileStream stream(Path(u"rules"), NewFile::kPrivate, pool_);
    stream.Write("half of the new");
    EXPECT_EQ(ReadFile(Native("rules.tmp")), "half of the new");
  }
  EXPECT_EQ(ReadFile(Native("rules")), "old");
  EXPECT_EQ(Files(), 1);
}

TEST_F(AtomicFileTest, AFailedReplacementLeavesNoTrace) {
  std::filesystem::create_directories(Native("rules"));
  EXPECT_THROW(ReplaceFile(Path(u"rules"), "new", NewFile::kPrivate, pool_), SvnException);
  EXPECT_THROW(ReplaceFile(Path(u"none/rules"), "new", NewFile::kPrivate, pool_), SvnException);
  EXPECT_EQ(Files(), 1);
}

TEST_F(AtomicFileTest, WhatAKilledWriterLeftIsRemovedAndWhatIsBeingWrittenSteppedAround) {
  WriteFile(Native("rules.tmp"), "left behind");
  {
    AtomicFileStream first(Path(u"rules"), NewFile::kPrivate, pool_);
    first.Write("first");
    ReplaceFile(Path(u"rules"), "second", NewFile::kPrivate, pool_);
    EXPECT_EQ(ReadFile(Native("rules")), "second");
    EXPECT_EQ(ReadFile(Native("rules.tmp")), "first");
    first.Close();
  }
  EXPECT_EQ(ReadFile(Native("rules")), "first");
  EXPECT_EQ(Files(), 1);
}

TEST_F(AtomicFileTest, WhileItIsWrittenOnlyTheOwnerReadsIt) {
  using std::filesystem::perms;
  WriteFile(Native("rules"), "old");
  std::filesystem::permissions(Native("rules"), perms(0640));
  AtomicFileStream stream(Path(u"rules"), NewFile::kAsFolderSays, pool_);
  EXPECT_EQ(std::filesystem::status(Native("rules.tmp")).permissions(), perms(0600));
  stream.Close();
  EXPECT_EQ(std::filesystem::status(Native("rules")).permissions(), perms(0640));
}

TEST_F(AtomicFileTest, WritersOfOneFileDoNotShareATemporary) {
  const auto text = [](int writer) { return std::string(200000, static_cast<char>('a' + writer)); };
  std::vector<std::thread> writers;
  for (int writer = 0; writer < 4; ++writer) {
    writers.emplace_back([&, writer] {
      const Pool own(pool_);
      for (int i = 0; i < 20; ++i) {
        ReplaceFile(Path(u"rules"), text(writer), NewFile::kPrivate, own);
        const std::string seen = ReadFile(Native("rules"));
        ASSERT_EQ(seen, text(seen.at(0) - 'a'));
      }
    });
  }
  for (std::thread& writer : writers) writer.join();
  EXPECT_EQ(Files(), 1);
}

TEST_F(AtomicFileTest, AMissingFileIsNothingAndAFolderIsAFailure) {
  EXPECT_EQ(ReadFileIfPresent(Path(u"none"), pool_), std::nullopt);
  EXPECT_THROW(ReadFileIfPresent(folder_.path(), pool_), SvnException);
}

}  // namespace
}  // namespace kelvarion::svn
