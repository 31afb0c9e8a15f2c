#include "access/authz_parser.h"

#include <gtest/gtest.h>

namespace kelvarion::access {
namespace {

TEST(AuthzParserTest, AccessIsWhatTheValueContains) {
  const struct {
    std::u16string value;
    AccessLevel access;
  } rows[] = {
      {u"rw", AccessLevel::ReadWrite},
      {u"wr", AccessLevel::ReadWrite},
      {u"read-write", AccessLevel::ReadWrite},
      {u"w", AccessLevel::ReadWrite},
      {u"r", AccessLevel::ReadOnly},
      {u"reader", AccessLevel::ReadOnly},
      {u"", AccessLevel::NoAccess},
      {u"R", AccessLevel::NoAccess},
      {u"W", AccessLevel::NoAccess},
      {u"none", AccessLevel::NoAccess},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(AccessFromValue(row.value), row.access);
  }
}

TEST(AuthzParserTest, KeysNameAccountsByTheKindOfFile) {
  const AuthzSubversionFileParser subversion;
  EXPECT_EQ(subversion.GetObject(u"*"), Account::Everyone());
  EXPECT_EQ(subversion.GetObject(u"@devs"), Account::Group(u"devs"));
  EXPECT_EQ(subversion.GetObject(u"alice"), Account::User(u"alice"));
  EXPECT_EQ(subversion.GetObject(u"**"), Account::User(u"**"));
  EXPECT_EQ(AuthzWindowsFileParser().GetObject(u"*"), Account::Windows(u"*"));
  EXPECT_EQ(AuthzGlobalFileParser().GetObject(u"@devs"), Account::Windows(u"@devs"));
}

TEST(AuthzParserTest, ChildrenAreTheSectionsBelowAPath) {
  const std::vector<std::u16string> sections{u"/",      u"/a",  u"/a b", u"/a-b",  u"/a/b",
                                             u"/a/b/c", u"/ab", u"/b",   u"groups"};
  const struct {
    std::u16string path;
    std::vector<std::u16string> removed;
  } rows[] = {
      {u"/a", {u"/a/b", u"/a/b/c"}},
      {u"/a/b", {u"/a/b/c"}},
      {u"/c", {}},
      {u"/", {u"/a", u"/a b", u"/a-b", u"/a/b", u"/a/b/c", u"/ab", u"/b"}},
  };
  for (const auto& row : rows) {
    AuthzSubversionFileParser parser;
    IniDocument expected;
    for (const std::u16string& section : sections) parser.document()[section][u"x"] = u"r";
    expected = parser.document();
    for (const std::u16string& section : row.removed) expected.erase(section);
    parser.RemoveChildren(row.path);
    EXPECT_EQ(parser.document(), expected);
  }
}

}  // namespace
}  // namespace kelvarion::access
