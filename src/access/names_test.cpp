#include "access/names.h"

#include <gtest/gtest.h>

#include "errors/exception.h"

namespace kelvarion::access {
namespace {

TEST(NamesTest, NamesThatMeanSomethingElseInAFileAreRefused) {
  const std::pair<std::u16string, std::u16string> rows[] = {
      {u"alice", u""},
      {u"José.O'Neil-2_x@example", u""},
      {u"DOMAIN\\bob", u""},
      {u"", u"The name of a user must not be empty"},
      {u"a\nb", u"The name of the user 'a\uFFFDb' contains a control character"},
      {u"a\u007F", u"The name of the user 'a\uFFFD' contains a control character"},
      {std::u16string(u"a\0b", 3), u"The name of the user 'a\uFFFDb' contains a control character"},
      {u"a\xD800", u"The name of the user 'a\uFFFD' is not valid Unicode text"},
  };
  for (const auto& [name, problem] : rows) {
    EXPECT_EQ(UserNameProblem(name), problem);
    EXPECT_EQ(GroupNameProblem(name).empty(), problem.empty());
  }
  const auto expect_refused = [](const std::u16string& name, const char16_t* why, char16_t sign) {
    EXPECT_EQ(UserNameProblem(name),
              Format(u"The name of the user '%s' must not %s '%c'", name, why, sign));
    EXPECT_NE(GroupNameProblem(name), u"");
  };
  for (const char16_t sign : std::u16string_view(u"*~$@&#"))
    expect_refused(std::u16string{sign, u'x'}, u"begin with", sign);
  for (const char16_t sign : std::u16string_view(u":,=[]% "))
    expect_refused(std::u16string{u'a', sign, u'x'}, u"contain", sign);
  EXPECT_EQ(UserNameProblem(std::u16string(90, u'é')), u"");
  EXPECT_NE(UserNameProblem(std::u16string(91, u'é')), u"");
}

TEST(NamesTest, PasswordsFitAHeaderAndALine) {
  EXPECT_EQ(PasswordProblem(u"correct: horse, ß"), u"");
  for (const std::u16string& password :
       {std::u16string(), std::u16string(u"a\r\nb"), std::u16string(u"a\0b", 3),
        std::u16string(u"\xDC00"), std::u16string(1025, u'x')}) {
    EXPECT_NE(PasswordProblem(password), u"");
  }
}

TEST(NamesTest, AccountsAreNamedAsTheirKindIs) {
  const struct {
    Account account;
    bool fine;
  } rows[] = {
      {Account::Everyone(), true},           {Account::User(u"alice"), true},
      {Account::User(u"~alice"), false},     {Account::Group(u"devs"), true},
      {Account::Group(u"a,b"), false},       {Account::Windows(u"S-1-22-1-1000"), true},
      {Account::Windows(u"*"), true},        {Account::Windows(u"S-"), false},
      {Account::Windows(u"S-1-5\n"), false}, {Account::Windows(u"alice"), false},
  };
  for (const auto& row : rows) EXPECT_EQ(AccountProblem(row.account).empty(), row.fine);
}

TEST(NamesTest, RulePathsAreCanonicalAndFitASection) {
  for (const char16_t* path : {u"/", u"/trunk", u"/a b/ü", u"/a:b", u"/a=b", u"/a[b", u"/#x",
                               u"/.hidden/..x", u"/%(x)s"}) {
    EXPECT_EQ(RulePathProblem(path), u"");
  }
  for (const char16_t* path : {u"", u"trunk", u"//", u"/a//b", u"/a/", u"/./a", u"/a/.", u"/a/../b",
                               u"/..", u"/a]", u"/a\nb", u"/\xD800"}) {
    EXPECT_NE(RulePathProblem(path), u"");
  }
  EXPECT_EQ(RulePathProblem(u"/a/"), u"The path '/a/' is not canonical");
}

}  // namespace
}  // namespace kelvarion::access
