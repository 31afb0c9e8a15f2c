#include "repos/root.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "access/folder_acl.h"
#include "access/windows_groups.h"
#include "errors/exception.h"
#include "platform/text/encoding.h"
#include "repos/create.h"
#include "repos/repositories_for_test.h"

namespace kelvarion::repos {
namespace {

using ::testing::HasSubstr;
using testing::ReadFile;
namespace fs = std::filesystem;

class RepositoriesRootTest : public RepositoriesTest {
 protected:
  RepositoriesRootTest() { fs::create_directories(home_.install_folder() + "/conf"); }
  std::u16string Stored() { return home_.configuration().GetRepositoriesRoot(std::nullopt); }
  std::string Config() { return ReadFile(home_.install_folder() + "/conf/httpd.conf"); }
  SetRootResult Set(const std::string& path, CreateMissing create,
                    AdjustPermissions adjust = AdjustPermissions::kNo) {
    return SetRepositoriesRoot(context(), Wide(path), adjust, create);
  }
};

TEST_F(RepositoriesRootTest, AMissingFolderIsMadeOnlyWhenAskedFor) {
  const std::string path = home_.folder() + "/deep/er/Ablage \xC3\xA4";
  const std::u16string before = Stored();
  EXPECT_EQ(Set(path, CreateMissing::kNo), SetRootResult::kPathMissing);
  EXPECT_EQ(Stored(), before);
  EXPECT_FALSE(fs::exists(home_.folder() + "/deep"));
  EXPECT_EQ(Set(path, CreateMissing::kYes), SetRootResult::kDone);
  EXPECT_EQ(Stored(), Wide(path));
  EXPECT_FALSE(home_.configuration().GetAdjustRepositoriesRootPermissions());
  EXPECT_THAT(Config(), HasSubstr("  SVNParentPath \"" + path + "\"\r\n"));
}

TEST_F(RepositoriesRootTest, UnfitPathsChangeNothing) {
  testing::WriteFile(home_.folder() + "/file", "");
  const std::u16string before = Stored();
  for (const std::string& path :
       {std::string(), std::string("/"), std::string("/tmp/./../"), std::string("relative"),
        std::string("C:\\Repos"), home_.folder() + "/file", home_.folder() + "/a\"b",
        home_.folder() + "/a\nb", home_.folder() + "/${TEMP}"}) {
    EXPECT_THROW(Set(path, CreateMissing::kYes), Exception) << path;
  }
  EXPECT_EQ(Stored(), before);
  EXPECT_FALSE(fs::exists(home_.install_folder() + "/conf/httpd.conf"));
}

TEST_F(RepositoriesRootTest, TheServersAccountsGetInAndAreNotGrantedAgain) {
  Set(home_.root(), CreateMissing::kNo, AdjustPermissions::kYes);
  const platform::SecurityAuthority& authority = *home_.machine()->security;
  const auto dacl = access::ReadFolderDacl(authority, Wide(home_.root()));
  const std::pair<std::u16string, std::uint32_t> granted[] = {
      {access::GetServerAdminsSid(authority), platform::kAccessModify},
      {platform::kSidBuiltinAdministrators, platform::kAccessFullControl},
      {platform::kSidLocalSystem, platform::kAccessFullControl},
  };
  for (const auto& [sid, rights] : granted)
    EXPECT_EQ(access::EffectiveRights(dacl, sid) & rights, rights);
  const auto list = [&] { return testing::RunProcess({"getfacl", "-p", home_.root()}).out; };
  const std::string before = list();
  Set(home_.root(), CreateMissing::kNo, AdjustPermissions::kYes);
  EXPECT_EQ(list(), before);
}

}  // namespace
}  // namespace kelvarion::repos
