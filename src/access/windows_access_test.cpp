#include <gtest/gtest.h>

#include <filesystem>
#include <functional>

#include "access/folder_acl.h"
#include "access/sid.h"
#include "access/windows_groups.h"
#include "errors/exception.h"
#include "platform/text/encoding.h"
#include "tests/support/process.h"
#include "tests/support/test_home.h"

namespace kelvarion::access {
namespace {

TEST(WindowsAccessTest, FailuresSayWhatFailedAndWhy) {
  const testing::TestHome home;
  platform::SecurityAuthority& authority = *home.machine()->security;
  SetGroupMembers(authority, kServerAdminsGroup, {u"S-1-22-1-1"});
  const struct {
    std::function<void()> action;
    std::u16string message;
  } rows[] = {
      {[&] { GetGroupMembers(authority, u"Nobody"); },
       u"Cannot get group members for 'Nobody' 2220"},
      {[&] { SetGroupMembers(authority, u"Nobody", {}); },
       u"Cannot set group members for 'Nobody' 2220"},
      {[&] {
         SetGroupMembers(authority, kServerAdminsGroup, {u"S-1-5-18", u"bob"});
       },
       u"Cannot parse SID string 1337"},
      {[&] { LookupAccountName(authority, u"no:body"); },
       u"Cannot lookup account name 'no:body' 1332"},
      {[&] { ReadFolderDacl(authority, u"/none"); },
       u"Cannot retrieve security information for '/none' 2"},
      {[&] {
         ApplyGrants(authority, platform::Utf16ForDisplay(home.root()), {{u"bob", 1, false}});
       },
       u"Unable to modify ACL 1337"},
  };
  for (const auto& row : rows) {
    try {
      row.action();
      ADD_FAILURE() << platform::Utf8ForDisplay(row.message);
    } catch (const Win32Exception& failure) {
      EXPECT_EQ(failure.text() + Format(u" %d", failure.hresult() & 0xFFFF), row.message);
    }
  }
  EXPECT_EQ(GetGroupMembers(authority, kServerAdminsGroup),
            std::vector<std::u16string>{u"S-1-22-1-1"});
}

TEST(WindowsAccessTest, AppliedGrantsMergeWithWhatIsExplicitAndDropWhatIsInherited) {
  const testing::TestHome home;
  const std::string folder = home.root() + "/folder";
  testing::RunProcess({"setfacl", "-m", "d:u:4711:rwx", home.root()});
  std::filesystem::create_directory(folder);
  testing::RunProcess({"setfacl", "-m", "u:4712:r-x,d:u:4712:r-x", folder});
  platform::SecurityAuthority& authority = *home.machine()->security;
  const std::u16string path = platform::Utf16ForDisplay(folder);
  ApplyGrants(authority, path, {{u"S-1-22-1-4713", platform::kAccessModify, false}});
  const auto dacl = ReadFolderDacl(authority, path);
  EXPECT_EQ(EffectiveRights(dacl, u"S-1-22-1-4711"), 0u);
  EXPECT_NE(EffectiveRights(dacl, u"S-1-22-1-4712"), 0u);
  EXPECT_EQ(EffectiveRights(dacl, u"S-1-22-1-4713"), platform::kAccessModify);
}

TEST(WindowsAccessTest, EveryEntryOfAnAccountCounts) {
  const std::vector<platform::AccessGrant> dacl{
      {u"S-1-1-0", 0x1, false}, {u"S-1-1-0", 0x20, true}, {u"S-1-5-18", 0x2, false}};
  EXPECT_EQ(EffectiveRights(dacl, u"S-1-1-0"), 0x21u);
  EXPECT_EQ(EffectiveRights(dacl, u"S-1-5-20"), 0u);
}

}  // namespace
}  // namespace kelvarion::access
