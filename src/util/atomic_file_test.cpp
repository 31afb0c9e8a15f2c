#include "util/atomic_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <thread>

#include "errors/exception.h"
#include "tests/support/failure.h"
#include "tests/support/temporary_folder.h"

namespace kelvarion::util {
namespace {

class AtomicFileTest : public ::testing::Test {
 protected:
  std::u16string Path(const std::string& name) const {
    return platform::PathFromNative(folder_ + "/" + name);
  }
  std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder_))
      names.push_back(entry.path().filename());
    return names;
  }

  testing::TemporaryFolder temporary_;
  const std::string& folder_ = temporary_.native();
};

// A text of one character: anything else in the file is a mixture or a part.
bool IsWhole(const std::string& text) {
  return text.size() == 100'000 && text.find_first_not_of(text[0]) == std::string::npos;
}

std::string Whole(int writer) { return std::string(100'000, static_cast<char>('a' + writer)); }

TEST_F(AtomicFileTest, NewFilesAreAsPrivateAsAskedForAndStaySo) {
  const auto mode = [this](const char* name) {
    return static_cast<unsigned>(std::filesystem::status(folder_ + "/" + name).permissions());
  };
  const mode_t old = umask(022);
  WriteFileAtomically(Path("key"), "secret", NewFile::kPrivate);
  WriteFileAtomically(Path("key"), "another");
  WriteFileAtomically(Path("page"), "text");
  WriteWholeFile(Path("plain"), "text");
  umask(old);
  EXPECT_EQ(mode("key"), 0600u);
  EXPECT_EQ(mode("page"), 0644u);
  EXPECT_EQ(mode("plain"), 0644u);
}

TEST_F(AtomicFileTest, FailuresNameTheFileAndChangeNothing) {
  std::filesystem::create_directories(folder_ + "/folder/child");
  EXPECT_TRUE(testing::MessageOf([&] {
                WriteFileAtomically(Path("none/file"), "text");
              }).starts_with(u"Cannot create file '" + Path("none/file") + u".tmp': "));
  EXPECT_TRUE(testing::MessageOf([&] {
                WriteFileAtomically(Path("folder"), "text");
              }).starts_with(u"Cannot write file '" + Path("folder") + u"': "));
  EXPECT_EQ(Names(), std::vector<std::string>{"folder"});
  EXPECT_THROW(WriteWholeFile(u"/dev/full", "text"), ComException);
  EXPECT_THROW(ReadWholeFile(Path("none")), Win32Exception);
}

TEST_F(AtomicFileTest, ReadersSeeOneWholeTextWhileWritersRace) {
  WriteFileAtomically(Path("file"), Whole(0));
  std::atomic<int> writing = 4;
  std::vector<std::thread> writers;
  for (int writer = 0; writer < 4; ++writer)
    writers.emplace_back([&, writer] {
      for (int i = 0; i < 50; ++i) WriteFileAtomically(Path("file"), Whole(writer));
      --writing;
    });
  int reads = 0;
  do {
    EXPECT_TRUE(IsWhole(ReadWholeFile(Path("file"))));
    ++reads;
  } while (writing > 0);
  for (std::thread& writer : writers) writer.join();
  EXPECT_GT(reads, 1);
  EXPECT_EQ(Names(), std::vector<std::string>{"file"});
}

TEST_F(AtomicFileTest, WhatAKilledWriterLeftIsNoObstacleNorPartOfTheText) {
  WriteWholeFile(Path("file.tmp"), std::string(200'000, 'z'));
  WriteFileAtomically(Path("file"), Whole(1));
  EXPECT_EQ(ReadWholeFile(Path("file")), Whole(1));
  EXPECT_EQ(Names(), std::vector<std::string>{"file"});
}

}  // namespace
}  // namespace kelvarion::util
