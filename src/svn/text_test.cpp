#include "svn/text.h"

#include <gtest/gtest.h>

#include "errors/exception.h"

namespace kelvarion::svn {
namespace {

TEST(SvnTextTest, PathsBecomeCanonical) {
  // The libraries abort the process over a path that is not.
  const struct {
    std::u16string path;
    std::string dirent;
  } rows[] = {
      {u"/srv/repositories", "/srv/repositories"},
      {u"/srv/repositories/", "/srv/repositories"},
      {u"/srv//./r/", "/srv/r"},
      {u"\\srv\\repos\\ü", "/srv/repos/ü"},
      {u"/", "/"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(DirentFromPath(row.path), row.dirent);
    EXPECT_EQ(DirentFromPath(PathFromDirent(row.dirent)), row.dirent);
  }
}

TEST(SvnTextTest, WhatCannotBeConvertedIsRefused) {
  EXPECT_THROW(Utf8(u"a\xD800"), Win32Exception);
  EXPECT_THROW(Utf8(std::u16string_view(u"a\0b", 3)), Win32Exception);
  EXPECT_THROW(Utf16("a\xFF"), Win32Exception);
  EXPECT_THROW(Utf16("\xED\xA0\x80"), Win32Exception) << "a surrogate in UTF-8";
  EXPECT_EQ(Utf16(Utf8(u"\U0001F40Cß")), u"\U0001F40Cß");
}

}  // namespace
}  // namespace kelvarion::svn
