#include <gtest/gtest.h>

#include <functional>
#include <map>

#include "access/folder_acl.h"
#include "access/sid.h"
#include "access/windows_groups.h"
#include "errors/exception.h"

namespace kelvarion::access {
namespace {

using platform::AccessGrant;
using platform::AccountName;
using Grants = std::vector<AccessGrant>;

// Keeps one group and one folder, and fails where it is told to.
class FakeAuthority : public platform::SecurityAuthority {
 public:
  Win32Error NormalizeSid(const std::u16string& text, std::u16string& out) const override {
    if (!text.starts_with(u"S-1-")) return ERROR_INVALID_SID;
    out = text;
    return ERROR_SUCCESS;
  }
  Win32Error LookupAccountName(const std::u16string& name, std::u16string& sid) const override {
    if (name != kServerAdminsGroup) return ERROR_NONE_MAPPED;
    sid = u"S-1-5-21-1-2-3-1001";
    return ERROR_SUCCESS;
  }
  Win32Error LookupAccountSid(const std::u16string& sid, AccountName& out) const override {
    const std::map<std::u16string, AccountName> names{{u"S-1-22-1-1", {u"Unix User", u"daemon"}},
                                                      {u"S-1-1-0", {u"", u"Everyone"}}};
    const auto found = names.find(sid);
    if (found == names.end()) return ERROR_NONE_MAPPED;
    out = found->second;
    return ERROR_SUCCESS;
  }
  Win32Error GetAccountSids(const std::u16string&, std::vector<std::u16string>&) const override {
    return ERROR_NOT_SUPPORTED;
  }
  Win32Error GetGroupMembers(const std::u16string& group,
                             std::vector<std::u16string>& sids) const override {
    if (group != kServerAdminsGroup) return NERR_GroupNotFound;
    sids = members;
    return ERROR_SUCCESS;
  }
  Win32Error SetGroupMembers(const std::u16string& group,
                             const std::vector<std::u16string>& sids) override {
    if (group != kServerAdminsGroup) return NERR_GroupNotFound;
    members = sids;
    return ERROR_SUCCESS;
  }
  Win32Error CreateGroup(const std::u16string&) override { return ERROR_NOT_SUPPORTED; }
  Win32Error ReadFolderAccess(const std::u16string& folder, Grants& out) const override {
    if (folder == u"/unreadable") return ERROR_ACCESS_DENIED;
    out = dacl;
    return ERROR_SUCCESS;
  }
  Win32Error WriteFolderAccess(const std::u16string& folder, const Grants& grants,
                               bool protect) override {
    if (folder == u"/read-only") return ERROR_ACCESS_DENIED;
    dacl = grants;
    is_protected = protect;
    return ERROR_SUCCESS;
  }

  std::vector<std::u16string> members{u"S-1-22-1-1"};
  Grants dacl{
      {u"S-1-22-1-0", 0x1, false}, {u"S-1-1-0", 0x1200A9, true}, {u"S-1-22-1-33", 0x2, true}};
  bool is_protected = false;
};

std::u16string MessageOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const Win32Exception& failure) {
    return failure.text() + Format(u" %d", failure.hresult() & 0xFFFF);
  }
  return u"";
}

TEST(WindowsAccessTest, FailuresSayWhatFailedAndWhy) {
  FakeAuthority authority;
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
      {[&] { LookupAccountName(authority, u"bob"); }, u"Cannot lookup account name 'bob' 1332"},
      {[&] { ReadFolderDacl(authority, u"/unreadable"); },
       u"Cannot retrieve security information for '/unreadable' 5"},
      {[&] { ApplyGrants(authority, u"/read-only", {}); },
       u"Cannot set security information for '/read-only' 5"},
      {[&] {
         ApplyGrants(authority, u"/root", {{u"bob", 1, false}});
       },
       u"Unable to modify ACL 1337"},
  };
  for (const auto& row : rows) EXPECT_EQ(MessageOf(row.action), row.message);
  EXPECT_EQ(authority.members, std::vector<std::u16string>{u"S-1-22-1-1"}) << "untouched";
}

TEST(WindowsAccessTest, AppliedGrantsMergeWithWhatIsExplicitAndDropWhatIsInherited) {
  FakeAuthority authority;
  ApplyGrants(authority, u"/root", {{u"S-1-22-1-33", 0x1301BF, false}, {u"S-1-22-1-0", 0x6, true}});
  const Grants expected{{u"S-1-22-1-0", 0x7, false}, {u"S-1-22-1-33", 0x1301BF, false}};
  EXPECT_EQ(authority.dacl, expected);
  EXPECT_TRUE(authority.is_protected);
}

TEST(WindowsAccessTest, EveryEntryOfAnAccountCounts) {
  const Grants dacl{{u"S-1-1-0", 0x1, false}, {u"S-1-1-0", 0x20, true}, {u"S-1-5-18", 0x2, false}};
  EXPECT_EQ(EffectiveRights(dacl, u"S-1-1-0"), 0x21u);
  EXPECT_EQ(EffectiveRights(dacl, u"S-1-5-20"), 0u);
}

TEST(WindowsAccessTest, AccountsAreShownWithTheirDomainWhereTheyHaveOne) {
  const FakeAuthority authority;
  EXPECT_EQ(AccountDisplayName(authority, u"S-1-22-1-1"), u"Unix User\\daemon");
  EXPECT_EQ(AccountDisplayName(authority, u"S-1-1-0"), u"Everyone");
  EXPECT_EQ(AccountDisplayName(authority, u"S-1-5-21-1-2-3-7"), u"S-1-5-21-1-2-3-7");
  EXPECT_EQ(GetServerAdminsSid(authority), u"S-1-5-21-1-2-3-1001");
}

}  // namespace
}  // namespace kelvarion::access
