#include "access/names.h"

#include <gtest/gtest.h>

#include "errors/exception.h"

namespace kelvarion::access {
namespace {

TEST(NamesTest, NamesThatMeanSomethingElseInAFileAreRefused) {
  const struct {
    std::u16string name;
    std::u16string problem;  // Of a user; the same of a group.
  } rows[] = {
      {u"alice", u""},
      {u"José.O'Neil-2_x@example", u""},
      {u"DOMAIN\\bob", u""},
      {u"", u"The name of a user must not be empty"},
      {u"*", u"The name of the user '*' must not begin with '*'"},
      {u"~bob", u"The name of the user '~bob' must not begin with '~'"},
      {u"$anonymous", u"The name of the user '$anonymous' must not begin with '$'"},
      {u"@devs", u"The name of the user '@devs' must not begin with '@'"},
      {u"&alias", u"The name of the user '&alias' must not begin with '&'"},
      {u"#bob", u"The name of the user '#bob' must not begin with '#'"},
      {u"a:b", u"The name of the user 'a:b' must not contain ':'"},
      {u"a,b", u"The name of the user 'a,b' must not contain ','"},
      {u"a=rw", u"The name of the user 'a=rw' must not contain '='"},
      {u"[/]", u"The name of the user '[/]' must not contain '['"},
      {u"a]", u"The name of the user 'a]' must not contain ']'"},
      {u"%(x)s", u"The name of the user '%(x)s' must not contain '%'"},
      {u"a b", u"The name of the user 'a b' must not contain ' '"},
      {u"a\nb", u"The name of the user 'a\uFFFDb' contains a control character"},
      {u"a\u007F", u"The name of the user 'a\uFFFD' contains a control character"},
      {std::u16string(u"a\0b", 3), u"The name of the user 'a\uFFFDb' contains a control character"},
      {u"a\xD800", u"The name of the user 'a\uFFFD' is not valid Unicode text"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(UserNameProblem(row.name), row.problem);
    EXPECT_EQ(GroupNameProblem(row.name).empty(), row.problem.empty());
  }
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

TEST(NamesTest, AProblemIsAnInvalidParameter) {
  RefuseIf(u"");
  try {
    RefuseIf(u"100% wrong");
    ADD_FAILURE() << "accepted";
  } catch (const WMIException& exception) {
    EXPECT_EQ(exception.status(), WBEM_E_INVALID_METHOD_PARAMETERS);
    EXPECT_EQ(exception.text(), u"100% wrong");
  }
}

}  // namespace
}  // namespace kelvarion::access
