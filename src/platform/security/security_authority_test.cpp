#include <acl/libacl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <signal.h>
#include <sys/acl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <set>
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
  EXPECT_EQ(fs::status(home_ / "groups.db").permissions(), fs::perms(0600));
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

TEST_F(SecurityAuthorityTest, AnAccountIsInItsGroupsAndTheirs) {
  const std::u16string admins = SidOf(kAdmins);
  authority_->CreateGroup(u"Helpers");
  authority_->CreateGroup(u"Others");
  // Two groups that hold each other are no endless walk.
  authority_->SetGroupMembers(kAdmins, {SidOf(u"Helpers"), SidOf(u"daemon")});
  authority_->SetGroupMembers(u"Helpers", {u"S-1-22-2-1", admins});
  authority_->SetGroupMembers(u"Others", {u"S-1-22-1-0"});
  const struct {
    const char16_t* account;
    std::vector<std::u16string> sids;
  } rows[] = {
      {u"daemon",
       {u"S-1-22-1-1", u"S-1-22-2-1", kSidEveryone, kSidAuthenticatedUsers, kSidBuiltinUsers,
        admins, SidOf(u"Helpers")}},
      {u"bin",
       {u"S-1-22-1-2", u"S-1-22-2-2", kSidEveryone, kSidAuthenticatedUsers, kSidBuiltinUsers}},
      {u"root",
       {u"S-1-22-1-0", u"S-1-22-2-0", kSidEveryone, kSidAuthenticatedUsers, kSidBuiltinUsers,
        kSidBuiltinAdministrators, SidOf(u"Others")}},
      {u"Helpers", {SidOf(u"Helpers"), admins}},
  };
  for (const auto& row : rows) {
    std::vector<std::u16string> sids;
    EXPECT_EQ(authority_->GetAccountSids(SidOf(row.account), sids), ERROR_SUCCESS);
    EXPECT_THAT(sids, ::testing::UnorderedElementsAreArray(row.sids));
    EXPECT_EQ(sids.front(), row.sids.front());
  }
  std::vector<std::u16string> none;
  EXPECT_EQ(authority_->GetAccountSids(u"daemon", none), ERROR_INVALID_SID);
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

// That access follows the members of granted groups is seen where several accounts share a server.
TEST_F(SecurityAuthorityTest, AListThatIsNoLongerCarriedOutIsNotReported) {
  if (geteuid() != 0) GTEST_SKIP() << "only root may grant access to others";
  const fs::path root = home_ / "root";
  fs::create_directories(root / "repository");
  const Grants grants{{SidOf(kAdmins), kAccessModify, false}};
  EXPECT_EQ(authority_->SetGroupMembers(kAdmins, {SidOf(u"www-data")}), ERROR_SUCCESS);
  EXPECT_EQ(Write(root, grants), ERROR_SUCCESS);
  // Or nobody would repair it.
  ASSERT_EQ(std::system(("setfacl -b " + root.string()).c_str()), 0);  // NOLINT: the test's own
  EXPECT_TRUE(Read(root).empty());
  EXPECT_EQ(Write(root, grants), ERROR_SUCCESS);
  EXPECT_EQ(Read(root), grants);
  fs::remove_all(root);
  EXPECT_EQ(authority_->SetGroupMembers(kAdmins, {SidOf(u"daemon")}), ERROR_SUCCESS);
}

// Those of the users 1 to 3 that the list of a file or folder names.
std::string NamedUsers(const std::string& path) {
  const acl_t list = acl_get_file(path.c_str(), ACL_TYPE_ACCESS);
  char* const text = acl_to_any_text(list, nullptr, ',', TEXT_NUMERIC_IDS);
  std::string users;
  for (const std::string id : {"1", "2", "3"})
    if (std::string_view(text).find("user:" + id + ":") != std::string_view::npos)
      users += id + " ";
  acl_free(text);
  acl_free(list);
  return users;
}

// Whoever ends between the change of a group and that of the files leaves a group that is one of
// the two; the next one to open the authority brings the files in line, in either direction.
TEST_F(SecurityAuthorityTest, AProcessKilledWhileMembersChangeLeavesNoAccessBehind) {
  if (geteuid() != 0) GTEST_SKIP() << "only root may grant access to others";
  const fs::path root = home_ / "root";
  for (int folder = 0; folder < 30; ++folder) {
    fs::create_directories(root / std::to_string(folder));
    for (int file = 0; file < 30; ++file)
      std::ofstream(root / std::to_string(folder) / std::to_string(file)) << "x";
  }
  const std::map<std::vector<std::u16string>, std::string> states{
      {{u"S-1-22-1-1"}, "1 "}, {{u"S-1-22-1-1", u"S-1-22-1-2"}, "1 2 "}, {{u"S-1-22-1-3"}, "3 "}};
  int halves = 0;
  for (int round = 0; round < 12; ++round) {
    const pid_t child = fork();
    if (child == 0) {
      const auto own = Open();
      own->WriteFolderAccess(PathFromNative(root.string()),
                             {{SidOf(kAdmins), kAccessModify, false}}, true);
      for (;;)
        for (const auto& [members, users] : states) own->SetGroupMembers(kAdmins, members);
    }
    // The walk begins with the folder itself; how far it gets differs from round to round.
    const std::string before = NamedUsers(root.string());
    for (int tries = 0; tries < 2000 && NamedUsers(root.string()) == before; ++tries)
      std::this_thread::sleep_for(std::chrono::microseconds(200));
    for (int i = 0; i < round * 3; ++i) std::this_thread::yield();
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    const auto users_of_all = [&] {
      std::set<std::string> users;
      for (const auto& entry : fs::recursive_directory_iterator(root))
        users.insert(NamedUsers(entry.path().string()));
      return users;
    };
    halves += users_of_all().size() > 1;
    authority_ = Open();
    const std::string expected = Members().empty() ? "" : states.at(Members());
    EXPECT_EQ(users_of_all(), std::set<std::string>{expected}) << round;
  }
  EXPECT_GT(halves, 0) << "no process was killed at the right moment";
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
