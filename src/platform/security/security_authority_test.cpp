#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <thread>

#include "platform/files/files.h"
#include "platform/security/accounts.h"
#include "platform/security/security.h"
#include "tests/support/temporary_folder.h"

namespace kelvarion::platform {
namespace {

namespace fs = std::filesystem;
using Grants = std::vector<AccessGrant>;

class SecurityAuthorityTest : public ::testing::Test {
 protected:
  SecurityAuthorityTest() {
    fs::permissions(home_, fs::perms(0711));
    authority_ = Open();
    authority_->CreateGroup(kAdmins);
  }

  std::unique_ptr<SecurityAuthority> Open() const {
    std::unique_ptr<SecurityAuthority> authority;
    EXPECT_EQ(OpenSecurityAuthority(home_.string(), authority), ERROR_SUCCESS);
    return authority;
  }
  std::u16string SidOf(const std::u16string& name) const {
    std::u16string sid;
    authority_->LookupAccountName(name, sid);
    return sid;
  }
  std::vector<std::u16string> Members() const {
    std::vector<std::u16string> sids;
    authority_->GetGroupMembers(kAdmins, sids);
    return sids;
  }
  Grants Read(const fs::path& folder) const {
    Grants grants;
    EXPECT_EQ(authority_->ReadFolderAccess(PathFromNative(folder.string()), grants), ERROR_SUCCESS);
    return grants;
  }
  Win32Error Write(const fs::path& folder, const Grants& grants) {
    return authority_->WriteFolderAccess(PathFromNative(folder.string()), grants, true);
  }

  static constexpr const char16_t* kAdmins = u"Kelvarion Server Admins";
  testing::TemporaryFolder temporary_;
  const fs::path home_ = temporary_.native();
  std::unique_ptr<SecurityAuthority> authority_;
};

// What the action returns when a process of the user does it.
bool As(const char* user, const std::function<bool()>& action) {
  const passwd* account = getpwnam(user);
  const pid_t child = fork();
  if (child == 0) {
    if (setgid(account->pw_gid) != 0 || setuid(account->pw_uid) != 0) _exit(2);
    _exit(action() ? 0 : 1);
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_NE(WEXITSTATUS(status), 2);
  return status == 0;
}

bool CanWrite(const fs::path& path) { return access(path.c_str(), R_OK | W_OK) == 0; }
bool CanUseFolder(const fs::path& path) { return access(path.c_str(), R_OK | W_OK | X_OK) == 0; }

TEST_F(SecurityAuthorityTest, LocalGroupsAreAccountsWithMembers) {
  struct stat status {};
  ASSERT_EQ(stat((home_ / "groups.db").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600u);

  const std::u16string sid = SidOf(kAdmins);
  EXPECT_TRUE(sid.starts_with(u"S-1-5-21-"));
  EXPECT_EQ(SidOf(HostName() + u"\\KELVARION server admins"), sid);
  EXPECT_EQ(SidOf(u"BUILTIN\\Kelvarion Server Admins"), u"");
  AccountName name;
  ASSERT_EQ(Open()->LookupAccountSid(sid, name), ERROR_SUCCESS);
  EXPECT_EQ(name.domain + u"\\" + name.name, HostName() + u"\\" + kAdmins);
  // The same number on another machine is a stranger.
  EXPECT_EQ(authority_->LookupAccountSid(u"S-1-5-21-1-2-3-1001", name), ERROR_NONE_MAPPED);

  EXPECT_EQ(authority_->SetGroupMembers(kAdmins, {u"s-1-22-1-07", kSidEveryone, u"S-1-22-1-7"}),
            ERROR_SUCCESS);
  const std::vector<std::u16string> expected{u"S-1-22-1-7", kSidEveryone};
  EXPECT_EQ(Members(), expected);
  EXPECT_EQ(authority_->SetGroupMembers(kAdmins, {u"S-1-5-18", u"nobody"}), ERROR_INVALID_SID);
  EXPECT_EQ(Members(), expected);
  EXPECT_EQ(authority_->CreateGroup(kAdmins), ERROR_SUCCESS);
  EXPECT_EQ(Members(), expected) << "creating it again changes nothing";
  EXPECT_EQ(authority_->SetGroupMembers(kAdmins, {}), ERROR_SUCCESS);
  EXPECT_TRUE(Members().empty());
  std::vector<std::u16string> none;
  EXPECT_EQ(authority_->GetGroupMembers(u"No Such Group", none), NERR_GroupNotFound);
  EXPECT_EQ(authority_->SetGroupMembers(u"No Such Group", {}), NERR_GroupNotFound);
}

// Members are replaced at once: a reader must never see a mixture.
TEST_F(SecurityAuthorityTest, ReadersSeeOneWholeListWhileOthersReplaceIt) {
  const std::vector<std::u16string> lists[] = {{u"S-1-22-1-1", u"S-1-22-1-2"}, {u"S-1-22-1-3"}};
  authority_->SetGroupMembers(kAdmins, lists[0]);
  std::vector<std::thread> writers;
  for (const auto& list : lists)
    writers.emplace_back([&] {
      const auto own = Open();
      for (int i = 0; i < 30; ++i) EXPECT_EQ(own->SetGroupMembers(kAdmins, list), ERROR_SUCCESS);
    });
  for (int i = 0; i < 300; ++i) {
    const std::vector<std::u16string> seen = Members();
    EXPECT_TRUE(seen == lists[0] || seen == lists[1]);
  }
  for (std::thread& writer : writers) writer.join();
}

TEST_F(SecurityAuthorityTest, AFolderReturnsTheListItWasGiven) {
  const fs::path folder = home_ / "root";
  fs::create_directory(folder);
  const Grants grants{{SidOf(kAdmins), kAccessModify, false},
                      {kSidBuiltinAdministrators, kAccessFullControl, false},
                      {u"S-1-5-21-9-9-9-500", 0x1200A9, false}};
  ASSERT_EQ(Write(folder, grants), ERROR_SUCCESS);
  EXPECT_EQ(Read(folder), grants);
  EXPECT_EQ(fs::status(folder).permissions(), fs::perms(0700));
  EXPECT_EQ(Write(folder, {{u"www-data", kAccessModify, false}}), ERROR_INVALID_SID);
  EXPECT_EQ(Read(folder), grants);
  EXPECT_EQ(Write(folder / "missing", grants), ERROR_FILE_NOT_FOUND);
}

TEST_F(SecurityAuthorityTest, AFolderWithoutAListIsReadAsItsModeSays) {
  const fs::path folder = home_ / "root";
  fs::create_directory(folder);
  fs::permissions(folder, fs::perms(0750));
  const Grants expected{{CurrentUserSid(), kAccessFullControl, false},
                        {ToText(GroupSid(getegid())), 0x1200A9, true}};
  EXPECT_EQ(Read(folder), expected);
}

TEST_F(SecurityAuthorityTest, GrantedAccountsCanUseWhatIsThereAndWhatIsMadeLater) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can become another user";
  const fs::path root = home_ / "root";
  fs::create_directories(root / "old/db");
  std::ofstream(root / "old/db/current") << "1\n";
  std::ofstream(root / "old/db/sealed") << "1\n";
  fs::permissions(root / "old/db/sealed", fs::perms(0444));
  std::ofstream(home_ / "outside") << "secret\n";
  fs::permissions(home_ / "outside", fs::perms(0600));
  fs::create_symlink(home_ / "outside", root / "old/link");
  ASSERT_EQ(Write(root, {{SidOf(u"www-data"), kAccessModify, false},
                         {kSidLocalSystem, kAccessFullControl, false}}),
            ERROR_SUCCESS);
  const mode_t before = umask(077);
  fs::create_directories(root / "new/db");
  std::ofstream(root / "new/db/current") << "1\n";
  umask(before);

  for (const char* tree : {"old", "new"}) {
    EXPECT_TRUE(As("www-data", [&] { return CanUseFolder(root / tree / "db"); })) << tree;
    EXPECT_TRUE(As("www-data", [&] { return CanWrite(root / tree / "db/current"); })) << tree;
    EXPECT_FALSE(As("nobody", [&] { return access((root / tree).c_str(), R_OK) == 0; })) << tree;
    EXPECT_FALSE(As("www-data", [&] {
      return access((root / tree / "db/current").c_str(), X_OK) == 0;
    })) << tree;
  }
  EXPECT_TRUE(As("www-data", [&] { return std::ifstream(root / "old/db/sealed").good(); }));
  EXPECT_FALSE(As("www-data", [&] { return CanWrite(root / "old/db/sealed"); }));
  EXPECT_FALSE(As("www-data", [&] { return CanWrite(home_ / "outside"); }));
  // What the account makes is as open to the other granted ones, and a new list withdraws the old.
  EXPECT_TRUE(As("www-data", [&] { return std::ofstream(root / "new/theirs").good(); }));
  ASSERT_EQ(Write(root, {{SidOf(u"nobody"), 0x1200A9, false}}), ERROR_SUCCESS);
  EXPECT_FALSE(As("www-data", [&] { return access((root / "old").c_str(), R_OK) == 0; }));
  EXPECT_TRUE(As("nobody", [&] { return std::ifstream(root / "new/theirs").good(); }));
  EXPECT_FALSE(As("nobody", [&] { return CanWrite(root / "new/theirs"); }));
}

TEST_F(SecurityAuthorityTest, AccessFollowsTheMembersOfAGrantedGroup) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can become another user";
  const fs::path root = home_ / "root";
  fs::create_directories(root / "repository");
  const auto usable = [&] {
    return As("www-data", [&] { return CanUseFolder(root / "repository"); });
  };
  ASSERT_EQ(Write(root, {{SidOf(kAdmins), kAccessModify, false}}), ERROR_SUCCESS);
  EXPECT_FALSE(usable());
  EXPECT_EQ(authority_->SetGroupMembers(kAdmins, {SidOf(u"www-data")}), ERROR_SUCCESS);
  EXPECT_TRUE(usable());
  EXPECT_EQ(authority_->SetGroupMembers(kAdmins, {SidOf(u"Unix Group\\www-data")}), ERROR_SUCCESS);
  EXPECT_TRUE(usable());
  // A list that is no longer carried out must not be reported, or nobody would repair it.
  ASSERT_EQ(std::system(("setfacl -b " + root.string()).c_str()), 0);
  EXPECT_TRUE(Read(root).empty());
  EXPECT_EQ(Write(root, {{SidOf(kAdmins), kAccessModify, false}}), ERROR_SUCCESS);
  EXPECT_TRUE(usable());
  EXPECT_EQ(authority_->SetGroupMembers(kAdmins, {}), ERROR_SUCCESS);
  EXPECT_FALSE(usable());
  fs::remove_all(root);
  EXPECT_EQ(authority_->SetGroupMembers(kAdmins, {SidOf(u"www-data")}), ERROR_SUCCESS);
}

TEST_F(SecurityAuthorityTest, AnOrdinaryUserOpensUpHisOwnFoldersOnly) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can become another user";
  fs::permissions(home_, fs::perms(0777));
  EXPECT_TRUE(As("nobody", [&] {
    const fs::path own = home_ / "own";
    fs::create_directories(own / "mine");
    std::unique_ptr<SecurityAuthority> authority;
    if (OpenSecurityAuthority(own.string(), authority) != ERROR_SUCCESS) return false;
    const Grants grants{{CurrentUserSid(), kAccessModify, false},
                        {u"S-1-22-1-33", 0x1200A9, false}};
    return authority->WriteFolderAccess(PathFromNative((own / "mine").string()), grants, true) ==
               ERROR_SUCCESS &&
           authority->WriteFolderAccess(PathFromNative(fs::temp_directory_path().string()), grants,
                                        true) == ERROR_ACCESS_DENIED;
  }));
}

}  // namespace
}  // namespace kelvarion::platform
