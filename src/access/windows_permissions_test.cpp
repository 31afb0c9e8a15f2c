// The permission model with Windows authentication.
#include <gtest/gtest.h>

#include <algorithm>

#include "access/authz_files.h"
#include "access/permission_description.h"
#include "access/permission_model.h"
#include "svn/error.h"
#include "svn/replica_role.h"
#include "svn/repository.h"
#include "tests/support/test_home.h"

namespace kelvarion::access {
namespace {

const Account kSystem = Account::Windows(u"S-1-5-18");
const Account kUnknown = Account::Windows(u"S-1-5-21-1-2-3-4");
constexpr AccessLevel kRead = AccessLevel::ReadOnly;
constexpr AccessLevel kWrite = AccessLevel::ReadWrite;

class WindowsPermissionsTest : public ::testing::Test {
 protected:
  WindowsPermissionsTest() {
    home_.configuration().SetUseWindowsAuth(true);
    svn::Pool pool(context_.root_pool());
    svn::CreateRepository(RepositoryFolder(context_, u"r"), pool);
  }
  std::string RulesFile() const { return home_.root() + "/r/conf/Kelvarion-WinAuthz.ini"; }
  std::u16string Describe(const PermissionList& rules) const {
    return DescribePermissions(*home_.machine()->security, rules);
  }
  const std::vector<std::u16string>& events() const { return home_.events().texts; }

  const testing::TestHome home_;
  const ServerContext& context_ = home_.context();
};

TEST_F(WindowsPermissionsTest, RulesAreDescribedByTheNamesOfAccountsInOrder) {
  EXPECT_EQ(Describe({}), u"\t<not specified>\r\n");
  EXPECT_EQ(Describe({{kUnknown, AccessLevel::NoAccess},
                      {kSystem, kWrite},
                      {Account::Windows(u"*"), kRead},
                      {Account::Everyone(), kWrite}}),
            u"\tEveryone = Read Only\r\n\tEveryone = Read Write\r\n"
            u"\tNT AUTHORITY\\SYSTEM = Read Write\r\n\tS-1-5-21-1-2-3-4 = No Access\r\n");
  EXPECT_THROW(Describe({{Account::User(u"alice"), kRead}}), Win32Exception);
}

TEST_F(WindowsPermissionsTest, EveryChangeIsReported) {
  SetPathPermissions(context_, {u"r", u"/"}, {{kSystem, kWrite}}, ResetChildren::kNo);
  AddPermission(context_, RepositoryPath{u"r", u"/"}, kUnknown, kRead, Overwrite::kNo);
  AddPermission(context_, RepositoryPath{u"r", u"/"}, kUnknown, kWrite, Overwrite::kNo);
  SetPathPermissions(context_, {u"r", u"/"}, {}, ResetChildren::kYes);
  const std::u16string none = Describe({});
  const std::u16string one = Describe({{kSystem, kWrite}});
  const std::u16string two = Describe({{kSystem, kWrite}, {kUnknown, kRead}});
  EXPECT_EQ(events(),
            (std::vector<std::u16string>{u"repository: r|/|" + none + u"|" + one + u"|keep",
                                         u"repository: r|/|" + one + u"|" + two + u"|keep",
                                         u"repository: r|/|" + two + u"|" + none + u"|reset"}));
}

TEST_F(WindowsPermissionsTest, AFailedReportDoesNotUndoTheChange) {
  home_.events().report_result = 1722;
  SetPathPermissions(context_, {u"r", u"/"}, {{kSystem, kWrite}}, ResetChildren::kNo);
  SetGlobalPermissions(context_, {{Account::Everyone(), kRead}});
  EXPECT_EQ(std::count(events().begin(), events().end(), u"report failure: 1722"), 2);
  EXPECT_EQ(testing::ReadFile(RulesFile()),
            std::string(kAuthorizationHeader) + "[/]\r\nS-1-5-18=rw\r\n\r\n");
  EXPECT_EQ(GetGlobalPermissions(context_), (PermissionList{{Account::Windows(u"*"), kRead}}));
}

TEST_F(WindowsPermissionsTest, AnAccountWithoutSidIsRefusedBeforeAnythingIsWritten) {
  EXPECT_THROW(SetPathPermissions(context_, {u"r", u"/"}, {{Account::User(u"alice"), kRead}},
                                  ResetChildren::kNo),
               Win32Exception);
  EXPECT_THROW(SetGlobalPermissions(context_, {{Account::Windows(u"S-1"), kRead}}), Win32Exception);
  EXPECT_TRUE(GetAllPathPermissions(context_, u"r").empty());
  EXPECT_TRUE(events().empty());
}

TEST_F(WindowsPermissionsTest, PathsOfASlaveAreItsMasters) {
  const svn::Pool pool(context_.root_pool());
  svn::WriteReplicaRole(home_.root() + "/r", {false, false, "m.example", "r"}, pool);
  const auto set = [&] {
    SetPathPermissions(context_, {u"r", u"/"}, {{kSystem, kWrite}}, ResetChildren::kNo);
  };
  EXPECT_THROW(set(), SimpleException);
  SetGlobalPermissions(context_, {{kSystem, kWrite}});
  svn::WriteReplicaRole(home_.root() + "/r", {true, false, "", ""}, pool);
  set();
  EXPECT_EQ(events().size(), 2u);
}

}  // namespace
}  // namespace kelvarion::access
