#include "access/groups.h"

#include <gtest/gtest.h>

#include "access/authz_files.h"
#include "tests/support/test_home.h"

namespace kelvarion::access {
namespace {

using testing::ReadFile;
using testing::WriteFile;
using Members = std::vector<Account>;

class GroupsTest : public ::testing::Test {
 protected:
  std::string File() const { return home_.root() + "/groups.conf"; }
  std::string Text() const {
    const std::string text = ReadFile(File());
    EXPECT_TRUE(text.starts_with(kAuthorizationHeader));
    return text.substr(std::min(text.size(), kAuthorizationHeader.size()));
  }

  const testing::TestHome home_;
  const ServerContext& context_ = home_.context();
};

TEST_F(GroupsTest, MembersKeepTheirOrderAndNeedNotExist) {
  const Members members{Account::User(u"bob"), Account::Group(u"testers"), Account::User(u"alice")};
  EXPECT_EQ(CreateGroup(context_, u"devs", members), CreateGroupResult::kCreated);
  EXPECT_EQ(CreateGroup(context_, u"Devs", {}), CreateGroupResult::kCreated);
  EXPECT_EQ(Text(), "[groups]\r\nDevs=\r\ndevs=bob,@testers,alice\r\n\r\n");
  EXPECT_EQ(GetMembers(context_, u"devs"), members);
  EXPECT_TRUE(GetMembers(context_, u"none").empty());
  EXPECT_EQ(ListGroups(context_), (std::vector<std::u16string>{u"Devs", u"devs"}));
  EXPECT_TRUE(GroupExists(context_, u"devs"));
  EXPECT_FALSE(GroupExists(context_, u"DEVS"));
  EXPECT_EQ(CreateGroup(context_, u"devs", {}), CreateGroupResult::kExists);
  EXPECT_EQ(SetMembers(context_, u"none", members), SetMembersResult::kNoSuchGroup);
}

TEST_F(GroupsTest, MembersAreReadHoweverTheyAreSeparated) {
  WriteFile(File(), "[groups]\ndevs = ,alice,, bob\t@t ,\n  carol\nhalf = a b,~c\n");
  EXPECT_EQ(GetMembers(context_, u"devs"),
            (Members{Account::User(u"alice"), Account::User(u"bob"), Account::Group(u"t"),
                     Account::User(u"carol")}));
  // What an administrator wrote may be written back, but nothing like it added.
  Members members = GetMembers(context_, u"half");
  EXPECT_EQ(SetMembers(context_, u"half", members), SetMembersResult::kDone);
  members.push_back(Account::User(u"~d"));
  EXPECT_THROW(SetMembers(context_, u"half", members), WMIException);
}

TEST_F(GroupsTest, NoGroupContainsItself) {
  CreateGroup(context_, u"a", {});
  CreateGroup(context_, u"b", {Account::Group(u"a"), Account::Group(u"a")});
  CreateGroup(context_, u"c", {Account::Group(u"b"), Account::Group(u"a")});
  const std::string before = Text();
  EXPECT_EQ(SetMembers(context_, u"a", {Account::Group(u"a")}), SetMembersResult::kCycle);
  EXPECT_EQ(SetMembers(context_, u"a", {Account::Group(u"b")}), SetMembersResult::kCycle);
  EXPECT_EQ(SetMembers(context_, u"a", {Account::User(u"x"), Account::Group(u"c")}),
            SetMembersResult::kCycle);
  EXPECT_EQ(CreateGroup(context_, u"d", {Account::Group(u"d")}), CreateGroupResult::kCycle);
  EXPECT_EQ(Text(), before);
  // A user of the group's name, and two ways to one group, are no cycle.
  EXPECT_EQ(SetMembers(context_, u"a", {Account::User(u"a"), Account::Group(u"none")}),
            SetMembersResult::kDone);
  // A group may already be named by others before it exists.
  SetMembers(context_, u"a", {Account::Group(u"late")});
  EXPECT_EQ(CreateGroup(context_, u"late", {Account::Group(u"c")}), CreateGroupResult::kCycle);
}

TEST_F(GroupsTest, DeepNestingNeedsNoStack) {
  std::string text = "[groups]\n";
  for (int i = 0; i < 100000; ++i) {
    text += "g" + std::to_string(i) + " = @g" + std::to_string(i + 1) + "\n";
  }
  WriteFile(File(), text);
  EXPECT_EQ(CreateGroup(context_, u"g100000", {Account::Group(u"g0")}), CreateGroupResult::kCycle);
  EXPECT_EQ(CreateGroup(context_, u"g100000", {}), CreateGroupResult::kCreated);
}

TEST_F(GroupsTest, ADeletedGroupLeavesAllOthers) {
  WriteFile(File(), "[groups]\ndevs = alice\nall = bob, @devs, devs\nother = carol\n");
  EXPECT_TRUE(DeleteGroup(context_, u"devs"));
  EXPECT_EQ(Text(), "[groups]\r\nall=bob,devs\r\nother=carol\r\n\r\n");
  EXPECT_FALSE(DeleteGroup(context_, u"devs"));
}

}  // namespace
}  // namespace kelvarion::access
