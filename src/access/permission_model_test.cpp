#include "access/permission_model.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "access/authz_files.h"
#include "access/groups.h"
#include "svn/error.h"
#include "svn/repository.h"
#include "tests/support/process.h"
#include "tests/support/test_home.h"

namespace kelvarion::access {
namespace {

using testing::ReadFile;
using testing::WriteFile;

constexpr AccessLevel kNone = AccessLevel::NoAccess;
constexpr AccessLevel kRead = AccessLevel::ReadOnly;
constexpr AccessLevel kWrite = AccessLevel::ReadWrite;
const PermissionEntry kAlice{Account::User(u"alice"), kWrite};
const PermissionEntry kBob{Account::User(u"bob"), kRead};

class PermissionModelTest : public ::testing::Test {
 protected:
  PermissionModelTest() {
    svn::Pool pool(context_.root_pool());
    svn::CreateRepository(RepositoryFolder(context_, u"r"), pool);
  }
  std::string Conf() const { return home_.root() + "/r/conf"; }
  std::string RulesFile() const { return Conf() + "/Kelvarion-SvnAuthz.ini"; }
  std::string Rules() const {
    const std::string text = ReadFile(RulesFile());
    EXPECT_TRUE(text.starts_with(kAuthorizationHeader));
    return text.substr(std::min(text.size(), kAuthorizationHeader.size()));
  }
  void Set(const std::u16string& path, const PermissionList& rules,
           ResetChildren reset = ResetChildren::kNo) const {
    SetPathPermissions(context_, {u"r", path}, rules, reset);
  }
  bool Add(const Account& account, AccessLevel access, Overwrite overwrite) const {
    return AddPermission(context_, RepositoryPath{u"r", u"/trunk"}, account, access, overwrite);
  }

  const testing::TestHome home_;
  const ServerContext& context_ = home_.context();
};

TEST_F(PermissionModelTest, APathsRulesAreReplaced) {
  EXPECT_TRUE(GetPathPermissions(context_, {u"r", u"/"}).empty());
  Set(u"/", {kBob, kAlice, {Account::Everyone(), kNone}});
  Set(u"/trunk", {{Account::Group(u"devs"), kWrite}});
  EXPECT_EQ(Rules(), "[/]\r\n*=\r\nalice=rw\r\nbob=r\r\n\r\n[/trunk]\r\n@devs=rw\r\n\r\n");
  Set(u"/", {kBob});
  EXPECT_EQ(GetAllPathPermissions(context_, u"r"),
            (std::map<std::u16string, PermissionList>{
                {u"/", {kBob}}, {u"/trunk", {{Account::Group(u"devs"), kWrite}}}}));
  Set(u"/", {});
  EXPECT_EQ(Rules(), "[/trunk]\r\n@devs=rw\r\n\r\n");
  Set(u"/", {}, ResetChildren::kYes);
  EXPECT_EQ(Rules(), "");
  EXPECT_TRUE(home_.events().texts.empty()) << "nothing is logged in this mode";
  EXPECT_FALSE(std::filesystem::exists(Conf() + "/Kelvarion-WinAuthz.ini"));
}

TEST_F(PermissionModelTest, SingleRulesAreAddedAndRemoved) {
  EXPECT_TRUE(Add(kAlice.account, kRead, Overwrite::kNo));
  EXPECT_TRUE(Add(kBob.account, kRead, Overwrite::kNo));
  const std::string before = ReadFile(RulesFile());
  const auto time = std::filesystem::last_write_time(RulesFile());
  EXPECT_FALSE(Add(kAlice.account, kWrite, Overwrite::kNo));
  EXPECT_FALSE(RemovePermission(context_, RepositoryPath{u"r", u"/trunk"}, Account::User(u"Bob")));
  EXPECT_EQ(ReadFile(RulesFile()), before);
  EXPECT_EQ(std::filesystem::last_write_time(RulesFile()), time);
  EXPECT_TRUE(Add(kAlice.account, kWrite, Overwrite::kYes));
  EXPECT_EQ(GetPathPermissions(context_, {u"r", u"/trunk"}), (PermissionList{kAlice, kBob}));
  EXPECT_TRUE(RemovePermission(context_, RepositoryPath{u"r", u"/trunk"}, kAlice.account));
  EXPECT_EQ(GetPathPermissions(context_, {u"r", u"/trunk"}), (PermissionList{kBob}));
}

TEST_F(PermissionModelTest, WhatTheFileCannotCarryIsRefusedButWhatItHasMayStay) {
  const std::string text = "[/]\n~carol = r\n[/trunk/]\nalice = r\n";
  WriteFile(RulesFile(), text);
  const PermissionEntry odd{Account::User(u"~carol"), kRead};
  EXPECT_THROW(Set(u"/trunk", {odd}), WMIException);
  EXPECT_THROW(Set(u"/", {{Account::User(u"*"), kWrite}}), WMIException);
  EXPECT_THROW(Set(u"/", {{Account::User(u"x=rw\n[/secret]\ny"), kWrite}}), WMIException);
  EXPECT_THROW(Set(u"/a]\n[/b", {kAlice}), WMIException);
  EXPECT_THROW(Set(u"/a/../b", {kAlice}), WMIException);
  EXPECT_THROW(SetPathPermissions(context_, {u"../r", u"/"}, {kAlice}, ResetChildren::kNo),
               WMIException);
  EXPECT_THROW(SetPathPermissions(context_, {u"none", u"/"}, {kAlice}, ResetChildren::kNo),
               SvnException);
  EXPECT_EQ(ReadFile(RulesFile()), text);
  Set(u"/", {odd, kAlice});
  Set(u"/trunk/", {});
  EXPECT_EQ(Rules(), "[/]\r\nalice=rw\r\n~carol=r\r\n\r\n");
}

// The files are written for Subversion's own reader; it has the last word on what they mean.
TEST_F(PermissionModelTest, SubversionReadsTheRulesAsTheyWereMeant) {
  CreateGroup(context_, u"testers", {Account::User(u"carol")});
  CreateGroup(context_, u"devs", {Account::User(u"alice"), Account::Group(u"testers")});
  Set(u"/", {{Account::Everyone(), kRead}});
  Set(u"/trunk", {{Account::Group(u"devs"), kWrite}});
  Set(u"/secret", {{Account::Everyone(), kNone}, kAlice});
  Set(u"/Ünï [x y:z=%(a)s", {kBob, {Account::User(u"José\\o'n-x"), kWrite}});
  const struct {
    const char* user;
    const char* path;
    const char* access;
  } rows[] = {
      {"alice", "/trunk/a", "rw\n"},
      {"carol", "/trunk", "rw\n"},
      {"bob", "/trunk", "r\n"},
      {"alice", "/secret/x", "rw\n"},
      {"bob", "/secret", "no\n"},
      {"José\\o'n-x", "/Ünï [x y:z=%(a)s", "rw\n"},
      {"dave", "/Ünï [x y:z=%(a)s", "r\n"},
  };
  for (const auto& row : rows) {
    const testing::ProcessResult result =
        testing::RunProcess({"svnauthz", "accessof", "--groups-file", home_.root() + "/groups.conf",
                             "--username", row.user, "--path", row.path, RulesFile()});
    EXPECT_EQ(result.all(), row.access) << row.user << " " << row.path;
  }
}

}  // namespace
}  // namespace kelvarion::access
