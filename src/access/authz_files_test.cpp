#include "access/authz_files.h"

#include <gtest/gtest.h>

#include "platform/text/encoding.h"
#include "tests/support/test_home.h"

namespace kelvarion::access {
namespace {

TEST(AuthzFilesTest, HeadersAreThoseThatOtherToolsCompare) {
  EXPECT_EQ(kAuthorizationHeader.size(), 421u);
  EXPECT_EQ(kSettingsHeader.size(), 414u);
}

TEST(AuthzFilesTest, FilesLieInTheRootOrTheRepositorysConfiguration) {
  const testing::TestHome home;
  const ServerContext& context = home.context();
  const auto path = [&](const char* file) {
    return platform::Utf16ForDisplay(home.root() + "/" + file);
  };
  EXPECT_EQ(SubversionRulesFile(context, u"ré"), path("ré/conf/Kelvarion-SvnAuthz.ini"));
  EXPECT_EQ(WindowsRulesFile(context, u"r"), path("r/conf/Kelvarion-WinAuthz.ini"));
  EXPECT_EQ(GlobalRulesFile(context), path("Kelvarion-GlobalWinAuthz.ini"));
  EXPECT_EQ(GroupsFile(context), path("groups.conf"));
  EXPECT_EQ(UsersFile(context), path("htpasswd"));
  EXPECT_EQ(DelegationFile(context, u"r"), path("r/conf/Kelvarion-Delegation.ini"));
  EXPECT_EQ(ReplicationFile(context, u"r"), path("r/conf/Kelvarion-Replication.ini"));
  EXPECT_EQ(RepositoryLockFile(context, u"r"), path("r/conf/Kelvarion.lck"));
  EXPECT_EQ(GlobalLockFile(context), path("Kelvarion-Global.lck"));

  home.configuration().SetRepositoriesRoot(u"/elsewhere/");
  EXPECT_EQ(UsersFile(context), u"/elsewhere/htpasswd") << "the root as it is now";
  for (const std::u16string& name :
       {std::u16string(), std::u16string(u"."), std::u16string(u".."), std::u16string(u"a/b"),
        std::u16string(u"..\\b"), std::u16string(u"a\0b", 3)}) {
    EXPECT_THROW(RepositoryLockFile(context, name), WMIException);
  }
}

}  // namespace
}  // namespace kelvarion::access
