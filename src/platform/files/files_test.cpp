#include "platform/files/files.h"

#include <acl/libacl.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/acl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <thread>
#include <vector>

#include "platform/files/file.h"
#include "tests/support/file_locks.h"
#include "tests/support/temporary_folder.h"

namespace kelvarion::platform {
namespace {

class FilesTest : public ::testing::Test {
 protected:
  std::string Native(const std::string& name) const { return folder_ + "/" + name; }
  std::u16string Path(const std::string& name) const { return PathFromNative(Native(name)); }
  void Write(const std::string& name, const std::string& text, NewFile access = NewFile::kPrivate) {
    bool created = false;
    ASSERT_EQ(CreateAndWriteFile(Path(name), text, access, created), ERROR_SUCCESS) << name;
  }
  void Replace(const std::string& name, NewFile access) {
    Write(name + ".tmp", "new");
    ASSERT_EQ(MoveFileReplacing(Path(name + ".tmp"), Path(name), access), ERROR_SUCCESS);
  }
  std::string Read(const std::string& name) const {
    std::string text;
    EXPECT_EQ(ReadWholeFile(Path(name), text), ERROR_SUCCESS) << name;
    return text;
  }
  unsigned Mode(const std::string& name) const {
    struct stat status {};
    EXPECT_EQ(stat(Native(name).c_str(), &status), 0) << name;
    return status.st_mode & 07777;
  }
  std::string AccessList(const std::string& name) const {
    const acl_t list = acl_get_file(Native(name).c_str(), ACL_TYPE_ACCESS);
    char* const text = acl_to_any_text(list, nullptr, ',', TEXT_NUMERIC_IDS);
    const std::string result = text;
    acl_free(text);
    acl_free(list);
    return result;
  }
  void SetAccessList(const std::string& name, acl_type_t type, const char* text) {
    const acl_t list = acl_from_text(text);
    ASSERT_EQ(acl_set_file(Native(name).c_str(), type, list), 0);
    acl_free(list);
  }

  testing::TemporaryFolder temporary_;
  const std::string& folder_ = temporary_.native();
};

TEST_F(FilesTest, PathsTakeEitherSeparatorAndNoText) {
  EXPECT_EQ(NativePath(u"\\srv\\a/b\u00E4"), "/srv/a/b\xC3\xA4");
  EXPECT_EQ(NativePath(std::u16string(u"a\0b", 3)), "");
  EXPECT_EQ(NativePath(u"a\xD800"), "");
  std::uint32_t attributes = 0;
  EXPECT_EQ(GetFileAttributes(u"", attributes), ERROR_PATH_NOT_FOUND);
  EXPECT_EQ(GetFileAttributes(u"/\xD800", attributes), ERROR_INVALID_NAME);
}

TEST_F(FilesTest, AttributesTellWhatAPathIs) {
  Write("plain", "");
  Write(".hidden", "");
  Write("fixed", "");
  chmod(Native("fixed").c_str(), 0444);
  mkdir(Native("folder").c_str(), 0555);
  symlink("folder", Native("link").c_str());
  const struct {
    const char* name;
    Win32Error error;
    std::uint32_t attributes;
  } rows[] = {
      {"plain", ERROR_SUCCESS, FILE_ATTRIBUTE_NORMAL},
      {".hidden", ERROR_SUCCESS, FILE_ATTRIBUTE_HIDDEN},
      {"fixed", ERROR_SUCCESS, FILE_ATTRIBUTE_READONLY},
      {"folder", ERROR_SUCCESS, FILE_ATTRIBUTE_DIRECTORY},
      {"link", ERROR_SUCCESS, FILE_ATTRIBUTE_DIRECTORY},
      {"missing", ERROR_FILE_NOT_FOUND, 0},
      {"plain/below", ERROR_PATH_NOT_FOUND, 0},
  };
  for (const auto& row : rows) {
    std::uint32_t attributes = 0;
    EXPECT_EQ(GetFileAttributes(Path(row.name), attributes), row.error) << row.name;
    EXPECT_EQ(attributes, row.attributes) << row.name;
  }
}

TEST_F(FilesTest, WholeFilesComeBackAsTheyWereWritten) {
  for (const std::size_t size : {0u, 1u, 4096u, 300000u}) {
    const std::string text(size, '\xFF');
    Write("file", text);
    EXPECT_EQ(Read("file"), text) << size;
  }
  std::string text = "old";
  EXPECT_EQ(ReadWholeFile(Path("missing"), text), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(text, "");
  EXPECT_EQ(ReadWholeFile(PathFromNative(folder_), text), ERROR_ACCESS_DENIED);
  // The kernel's own files state no size.
  EXPECT_EQ(ReadWholeFile(u"/proc/self/status", text), ERROR_SUCCESS);
  EXPECT_NE(text.find("Umask:"), std::string::npos);
}

TEST_F(FilesTest, NewFilesAreAsPrivateAsAskedFor) {
  const mode_t old = umask(027);
  Write("private", "");
  Write("shared", "", NewFile::kAsFolderSays);
  umask(old);
  EXPECT_EQ(Mode("private"), 0600u);
  EXPECT_EQ(Mode("shared"), 0640u);
  // A private file never goes to where a link points.
  symlink("shared", Native("trap").c_str());
  bool created = true;
  EXPECT_EQ(CreateAndWriteFile(Path("trap"), "secret", NewFile::kPrivate, created),
            ERROR_CANT_RESOLVE_FILENAME);
  EXPECT_FALSE(created);
  EXPECT_EQ(Read("shared"), "");
  EXPECT_EQ(CreateAndWriteFile(u"/dev/full", "x", NewFile::kAsFolderSays, created),
            ERROR_DISK_FULL);
  EXPECT_TRUE(created) << "it was opened";
}

TEST_F(FilesTest, AReplacedFileKeepsItsModeOwnerAndAccessList) {
  Write("target", "old");
  SetAccessList("target", ACL_TYPE_ACCESS, "u::rw,u:1234:r,g::-,m::r,o::-");
  if (geteuid() == 0) {
    ASSERT_EQ(chown(Native("target").c_str(), 33, 34), 0);
  }
  const std::string before = AccessList("target");
  Replace("target", NewFile::kAsFolderSays);
  EXPECT_EQ(Read("target"), "new");
  EXPECT_EQ(AccessList("target"), before);
  struct stat status {};
  ASSERT_EQ(stat(Native("target").c_str(), &status), 0);
  if (geteuid() == 0) {
    EXPECT_EQ(status.st_uid, 33u);
    EXPECT_EQ(status.st_gid, 34u);
  }
}

TEST_F(FilesTest, APlainTargetStaysPlainInAFolderThatHandsDownAccess) {
  Write("target", "old");
  chmod(Native("target").c_str(), 0640);
  SetAccessList("", ACL_TYPE_DEFAULT, "u::rwx,u:1234:rwx,g::rx,m::rwx,o::-");
  Replace("target", NewFile::kPrivate);
  EXPECT_EQ(AccessList("target"), "user::rw-,group::r--,other::---");
}

// What the move gives is compared with what the system itself gives a new file.
TEST_F(FilesTest, ANewTargetGetsWhatTheFolderSays) {
  const mode_t old = umask(037);
  const auto expect_as_created = [this](const char* what) {
    Write("reference", "", NewFile::kAsFolderSays);
    Replace("target", NewFile::kAsFolderSays);
    EXPECT_EQ(AccessList("target"), AccessList("reference")) << what;
    EXPECT_EQ(Mode("target"), Mode("reference")) << what;
    std::filesystem::remove(Native("reference"));
    std::filesystem::remove(Native("target"));
  };
  expect_as_created("umask");
  Replace("hashes", NewFile::kOwnerAndFolder);
  EXPECT_EQ(Mode("hashes"), 0600u) << "no default list";
  EXPECT_EQ(umask(037), 037u);
  SetAccessList("", ACL_TYPE_DEFAULT, "u::rwx,g::rx,o::x");
  expect_as_created("plain default");
  SetAccessList("", ACL_TYPE_DEFAULT, "u::rwx,u:1234:rwx,g::rx,m::rwx,o::-");
  expect_as_created("default with accounts");
  Replace("users", NewFile::kOwnerAndFolder);
  EXPECT_EQ(AccessList("users"), "user::rw-,user:1234:rwx,group::r-x,mask::rw-,other::---");
  Replace("page", NewFile::kEverybodyReads);
  EXPECT_EQ(Mode("page"), 0644u);
  umask(old);

  Replace("secret", NewFile::kPrivate);
  EXPECT_EQ(Mode("secret"), 0600u);
}

TEST_F(FilesTest, AMoveThatFailsLeavesBothAsTheyWere) {
  mkdir(Native("folder").c_str(), 0700);
  Write("from", "new");
  EXPECT_EQ(MoveFileReplacing(Path("from"), Path("folder"), NewFile::kPrivate),
            ERROR_ACCESS_DENIED);
  EXPECT_EQ(MoveFileReplacing(Path("from"), Path("none/to"), NewFile::kPrivate),
            ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(Read("from"), "new");
  symlink("from", Native("link").c_str());
  EXPECT_EQ(MoveFileReplacing(Path("link"), Path("to"), NewFile::kPrivate),
            ERROR_CANT_RESOLVE_FILENAME);
}

TEST_F(FilesTest, FoldersAreCreatedWithTheirParents) {
  Write("file", "");
  EXPECT_EQ(CreateDirectories(Path("a\\b/c")), ERROR_SUCCESS);
  EXPECT_EQ(CreateDirectories(Path("a/b/c")), ERROR_SUCCESS);
  EXPECT_TRUE(std::filesystem::is_directory(Native("a/b/c")));
  EXPECT_EQ(CreateDirectories(Path("file")), ERROR_DIRECTORY);
  EXPECT_EQ(CreateDirectories(Path("file/below")), ERROR_PATH_NOT_FOUND);
}

TEST_F(FilesTest, VolumesAreFoundThroughLinks) {
  VolumeInfo here;
  ASSERT_EQ(GetVolumeInformation(PathFromNative(folder_), here), ERROR_SUCCESS);
  EXPECT_NE(here.bytes_free, 0u);
  EXPECT_FALSE(here.remote);
  symlink("/proc/self", Native("link").c_str());
  VolumeInfo linked;
  ASSERT_EQ(GetVolumeInformation(Path("link"), linked), ERROR_SUCCESS);
  EXPECT_EQ(linked.file_system, u"proc");
  EXPECT_EQ(linked.flags & FILE_SUPPORTS_TRANSACTIONS, 0u);
  EXPECT_EQ(GetVolumeInformation(Path("missing"), linked), ERROR_FILE_NOT_FOUND);
}

// Whoever waited for a file that was moved away must not think to hold the one that came after it.
TEST_F(FilesTest, AWaiterFollowsTheNameToTheNextFile) {
  auto first = std::make_unique<FileLock>(Path("lock"));
  std::atomic<bool> second_held = false;
  std::atomic<bool> waiter_held = false;
  std::thread waiter([&] {
    const FileLock lock(Path("lock"));
    EXPECT_EQ(lock.Error(), ERROR_SUCCESS);
    EXPECT_FALSE(second_held);
    waiter_held = true;
  });
  while (!testing::IsWaitedFor(Native("lock"))) std::this_thread::yield();
  std::filesystem::rename(Native("lock"), Native("moved"));
  auto second = std::make_unique<FileLock>(Path("lock"));
  second_held = true;
  first.reset();
  while (!waiter_held && !testing::IsWaitedFor(Native("lock"))) std::this_thread::yield();
  second_held = false;
  second.reset();
  waiter.join();
}

// Whoever shares the files shares the lock; nobody else can hold it against them.
TEST_F(FilesTest, ALockIsForWhomTheFolderNames) {
  const mode_t old = umask(0);
  EXPECT_EQ(FileLock(Path("own")).Error(), ERROR_SUCCESS);
  EXPECT_EQ(Mode("own"), 0600u);
  umask(077);
  SetAccessList("", ACL_TYPE_DEFAULT, "u::rwx,u:1234:rwx,g::-,m::rwx,o::rwx");
  EXPECT_EQ(FileLock(Path("shared")).Error(), ERROR_SUCCESS);
  EXPECT_EQ(AccessList("shared"), "user::rw-,user:1234:rwx,group::---,mask::rw-,other::---");
  umask(old);
}

TEST_F(FilesTest, OneThreadAtATimeHoldsTheLock) {
  std::atomic<int> inside = 0;
  std::atomic<int> overlaps = 0;
  int total = 0;
  const auto work = [&] {
    for (int i = 0; i < 200; ++i) {
      const FileLock lock(Path("lock"));
      ASSERT_EQ(lock.Error(), ERROR_SUCCESS);
      if (++inside != 1) ++overlaps;
      ++total;
      --inside;
      if (i % 3 == 0) DeleteFile(Path("lock"));
    }
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) threads.emplace_back(work);
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(overlaps, 0);
  EXPECT_EQ(total, 800);
  EXPECT_EQ(FileLock(Path("none/lock")).Error(), ERROR_FILE_NOT_FOUND);
}

TEST_F(FilesTest, AnOpenFileReadsWhatItWroteAndIsNotInherited) {
  File file;
  EXPECT_EQ(File::Open(Path("file"), File::Mode::kOpenExisting, file), ERROR_FILE_NOT_FOUND);
  ASSERT_EQ(File::Open(Path("file"), File::Mode::kCreate, file), ERROR_SUCCESS);
  EXPECT_EQ(Mode("file"), 0600u);
  EXPECT_EQ(file.Write("abc", 3), ERROR_SUCCESS);
  EXPECT_EQ(file.Flush(), ERROR_SUCCESS);
  ASSERT_EQ(File::Open(Path("file"), File::Mode::kOpenExisting, file), ERROR_SUCCESS);
  char buffer[8];
  std::size_t read = 0;
  EXPECT_EQ(file.Read(buffer, sizeof buffer, read), ERROR_SUCCESS);
  EXPECT_EQ(std::string(buffer, read), "abc");
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code ignored;
    if (std::filesystem::read_symlink(entry.path(), ignored) != Native("file")) continue;
    const int descriptor = std::stoi(entry.path().filename());
    EXPECT_NE(fcntl(descriptor, F_GETFD) & FD_CLOEXEC, 0);
  }
}

}  // namespace
}  // namespace kelvarion::platform
