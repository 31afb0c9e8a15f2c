#include "access/users.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "access/authz_files.h"
#include "access/groups.h"
#include "access/permission_model.h"
#include "access/users_file.h"
#include "platform/text/encoding.h"
#include "svn/error.h"
#include "tests/support/process.h"
#include "tests/support/test_home.h"

namespace kelvarion::access {
namespace {

using testing::ReadFile;
using testing::WriteFile;

class UsersTest : public ::testing::Test {
 protected:
  std::string File() const { return home_.root() + "/htpasswd"; }
  // Whether Apache's own tool takes the password.
  bool Accepts(const std::string& name, const std::string& password) const {
    return testing::RunProcess({"htpasswd", "-vb", File(), name, password}).exit_code == 0;
  }
  // A repository as far as rules are concerned.
  void MakeRules(const std::string& repository, const std::string& rules) const {
    std::filesystem::create_directories(home_.root() + "/" + repository + "/conf");
    WriteFile(RulesFile(repository), rules);
  }
  std::string RulesFile(const std::string& repository) const {
    return home_.root() + "/" + repository + "/conf/Kelvarion-SvnAuthz.ini";
  }

  const testing::TestHome home_;
  const ServerContext& context_ = home_.context();
};

TEST_F(UsersTest, ApacheKnowsWhoWasCreated) {
  EXPECT_TRUE(CreateUser(context_, u"alice", u"one two:three"));
  EXPECT_TRUE(CreateUser(context_, u"Alice", u"pässword"));
  EXPECT_TRUE(CreateUser(context_, u"жук", u"x"));
  EXPECT_FALSE(CreateUser(context_, u"alice", u"other"));
  EXPECT_EQ(ListUsers(context_), (std::vector<std::u16string>{u"alice", u"Alice", u"жук"}));
  EXPECT_TRUE(Accepts("alice", "one two:three"));
  EXPECT_TRUE(Accepts("Alice", "pässword"));
  EXPECT_TRUE(Accepts("жук", "x"));
  EXPECT_FALSE(Accepts("alice", "other"));
  EXPECT_TRUE(ReadFile(File()).starts_with("alice:$apr1$"));
  EXPECT_TRUE(ReadFile(File()).ends_with("\r\n"));
  EXPECT_EQ(std::filesystem::status(File()).permissions(), std::filesystem::perms(0600));
  EXPECT_EQ(ReadFile(home_.root() + "/groups.conf"), kAuthorizationHeader);

  EXPECT_TRUE(SetPassword(context_, u"alice", u"new"));
  EXPECT_TRUE(Accepts("alice", "new"));
  EXPECT_TRUE(Accepts("Alice", "pässword"));
  EXPECT_FALSE(SetPassword(context_, u"ALICE", u"new"));
}

TEST_F(UsersTest, LinesAreReadAsTheServerReadsThem) {
  const std::string long_name(250, 'n');
  const struct {
    const char* what;
    std::string text;
    UserRecords users;
    bool valid = true;
  } rows[] = {
      {"nothing", "", {}},
      {"line ends of either kind, none at the end",
       "a:1\nb:2\r\nc:3",
       {{"a", "1"}, {"b", "2"}, {"c", "3"}}},
      {"further fields", "a:1:x:y\n", {{"a", "1"}}},
      {"runs of separators", "::a::1\n", {{"a", "1"}}},
      {"a name twice", "a:1\na:2\n", {{"a", "1"}, {"a", "2"}}},
      {"the longest line", long_name + ":123\n", {{long_name, "123"}}},
      {"an empty line", "a:1\n\nb:2\n", {}, false},
      {"a blank one at the end", "a:1\n\r\n", {}, false},
      {"no hash", "a\n", {}, false},
      {"nothing after the colon", "a:\n", {}, false},
      {"a line cut after 255 bytes, its rest no record", long_name + ":12345\n", {}, false},
      {"a line cut after 255 bytes, its rest a record",
       long_name + ":1234:b:5\n",
       {{long_name, "1234"}, {"b", "5"}}},
  };
  for (const auto& row : rows) {
    WriteFile(File(), row.text);
    if (row.valid) {
      EXPECT_EQ(ReadUsersFile(UsersFile(context_), context_.root_pool()), row.users) << row.what;
      continue;
    }
    try {
      SetPassword(context_, u"a", u"x");
      ADD_FAILURE() << row.what;
    } catch (const SvnException& exception) {
      EXPECT_EQ(exception.Message(), u"Syntax error in users file.") << row.what;
      EXPECT_EQ(exception.code(), 20014);
    }
    EXPECT_EQ(ReadFile(File()), row.text) << row.what;
  }
}

// A line that is longer than readers take would lock everybody out.
TEST_F(UsersTest, NoLineGrowsBeyondWhatCanBeRead) {
  const std::string text = std::string(240, 'n') + ":1\n";
  WriteFile(File(), text);
  EXPECT_THROW(SetPassword(context_, std::u16string(240, u'n'), u"x"), SimpleException);
  EXPECT_EQ(ReadFile(File()), text);
  const std::u16string longest(180, u'n');
  EXPECT_TRUE(CreateUser(context_, longest, u"x"));
  EXPECT_EQ(ListUsers(context_).back(), longest);
}

TEST_F(UsersTest, ADeletedUserLeavesGroupsAndRules) {
  WriteFile(File(), "alice:1\nbob:2\n");
  WriteFile(home_.root() + "/groups.conf", "[groups]\nall = alice, bob, @alice\nalice = bob\n");
  MakeRules("one", "[/]\nalice = rw\n@alice = r\nbob = r\n[/trunk]\nalice =\n[other]\nalice = x\n");
  MakeRules("two", "[/]\nbob = rw\n");
  const std::string untouched = ReadFile(RulesFile("two"));
  std::filesystem::create_directories(home_.root() + "/no repository");

  EXPECT_TRUE(DeleteUser(context_, u"alice"));
  EXPECT_EQ(ListUsers(context_), (std::vector<std::u16string>{u"bob"}));
  EXPECT_EQ(GetMembers(context_, u"all"),
            (std::vector<Account>{Account::User(u"bob"), Account::Group(u"alice")}));
  EXPECT_EQ(ReadFile(RulesFile("one")), std::string(kAuthorizationHeader) +
                                            "[/]\r\n@alice=r\r\nbob=r\r\n\r\n"
                                            "[other]\r\nalice=x\r\n\r\n");
  EXPECT_EQ(ReadFile(RulesFile("two")), untouched);

  EXPECT_TRUE(DeleteGroup(context_, u"alice"));
  EXPECT_EQ(GetPathPermissions(context_, {u"one", u"/"}),
            (PermissionList{{Account::User(u"bob"), AccessLevel::ReadOnly}}));
  MakeRules("two", "[/]\ncarol = rw\n");
  EXPECT_FALSE(DeleteUser(context_, u"carol"));
  EXPECT_EQ(ReadFile(File()), "bob:2\r\n") << "written again though nothing changed";
  EXPECT_FALSE(DeleteGroup(context_, u"carol"));
  EXPECT_EQ(ReadFile(RulesFile("two")), "[/]\ncarol = rw\n") << "nobody was deleted";
}

TEST_F(UsersTest, RepositoriesThatCannotBePurgedAreCountedAndLogged) {
  WriteFile(File(), "alice:1\nbob:2\n");
  MakeRules("bad", "no section\n");
  MakeRules("good", "[/]\nalice = rw\nbob = rw\n");
  const auto expect_counted = [&](const char16_t* name, const char16_t* count) {
    try {
      DeleteUser(context_, name);
      ADD_FAILURE() << "deleted";
    } catch (const SimpleException& exception) {
      EXPECT_EQ(exception.Message(),
                Format(u"Failed to purge references to the user from %s. Please check Kelvarion "
                       u"Server logs for more details.",
                       count));
    }
  };
  expect_counted(u"alice", u"1 repository");
  ASSERT_EQ(home_.events().texts.size(), 1u);
  EXPECT_TRUE(home_.events().texts[0].starts_with(
      u"warning: Failed to purge references to the user from repository 'bad': Error while "
      u"parsing config file"));
  EXPECT_EQ(ReadFile(RulesFile("good")),
            std::string(kAuthorizationHeader) + "[/]\r\nbob=rw\r\n\r\n");
  MakeRules("worse", "no section\n");
  expect_counted(u"bob", u"2 repositories");
  EXPECT_TRUE(ListUsers(context_).empty());
  // What could not be completed is when it is asked for again, and only that.
  MakeRules("bad", "[/]\nalice = rw\nbob = rw\n@bob = r\n");
  MakeRules("worse", "");
  EXPECT_NO_THROW(DeleteUser(context_, u"alice"));
  EXPECT_FALSE(DeleteGroup(context_, u"bob"));
  EXPECT_EQ(ReadFile(RulesFile("bad")),
            std::string(kAuthorizationHeader) + "[/]\r\n@bob=r\r\nbob=rw\r\n\r\n");
  EXPECT_NO_THROW(DeleteUser(context_, u"bob"));
  EXPECT_FALSE(std::filesystem::exists(home_.root() + "/Kelvarion-Deletions.txt"));
}

TEST_F(UsersTest, OddNamesAreRefusedButWhatIsThereCanBeRemoved) {
  const std::string text = "~bob:1\njohn doe:2\n";
  WriteFile(File(), text);
  EXPECT_THROW(CreateUser(context_, u"x:y", u"x"), WMIException);
  EXPECT_THROW(CreateUser(context_, u"x", u""), WMIException);
  EXPECT_THROW(CreateUser(context_, u"x", u"a\nroot:hash"), WMIException);
  EXPECT_THROW(SetPassword(context_, u"~bob", u"a\nb"), WMIException);
  EXPECT_THROW(DeleteUser(context_, u"*"), WMIException);
  EXPECT_EQ(ReadFile(File()), text);
  EXPECT_TRUE(DeleteUser(context_, u"~bob"));
  EXPECT_TRUE(DeleteUser(context_, u"john doe"));
  EXPECT_EQ(ReadFile(File()), "");
}

}  // namespace
}  // namespace kelvarion::access
