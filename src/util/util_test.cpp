#include <gtest/gtest.h>

#include "errors/exception.h"
#include "util/paths.h"
#include "util/version.h"

namespace kelvarion::util {
namespace {

TEST(PathsTest, OneSeparatorStandsBetweenTwoParts) {
  const struct {
    std::u16string first, second, joined;
  } rows[] = {
      {u"C:/Repos/", u"/htpasswd", u"C:/Repos/htpasswd"},
      {u"a///", u"///b", u"a/b"},
      {u"", u"x", u"x"},
      {u"x/", u"", u"x/"},
      {u"a\\", u"b", u"a\\/b"},
  };
  for (const auto& row : rows) EXPECT_EQ(JoinPath(row.first, row.second), row.joined);
}

TEST(PathsTest, AbsoluteAndNetworkPathsAreTold) {
  for (const char16_t* path : {u"d:/data", u"Z:\\", u"\\\\server\\share", u"/srv/svn", u"/"})
    EXPECT_TRUE(IsAbsoluteOrNetworkPath(path));
  for (const char16_t* path : {u"", u"data", u"C:", u"C:data", u"1:/x", u"\\\\?\\C:\\x", u"\\\\.\\x",
                               u"\\\\server", u"\\\\server\\", u"\\\\\\share", u"\\x"})
    EXPECT_FALSE(IsAbsoluteOrNetworkPath(path));
}

TEST(VersionTest, UpToFourGroupsAreReadAndMissingOnesAreZero) {
  const struct {
    const char16_t* text;
    ProviderVersion expected;
    const char16_t* written;
  } rows[] = {
      {u"3.5", {3, 5, 0, 0}, u"3.5.0.0"},      {u"3..8", {3, 0, 8, 0}, u"3.0.8.0"},
      {u"", {0, 0, 0, 0}, u"0.0.0.0"},         {u"1.2.3.4", {1, 2, 3, 4}, u"1.2.3.4"},
      {u"2x.y", {2, 0, 0, 0}, u"2.0.0.0"},     {u"-1.5", {-1, 5, 0, 0}, u"-1.5.0.0"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(ParseVersion(row.text), row.expected);
    EXPECT_EQ(FormatVersion(ParseVersion(row.text)), row.written);
  }
  EXPECT_EQ(FormatVersion({3, -1, -1, -1}), u"3");
  EXPECT_THROW(ParseVersion(u"1.2.3.4.5"), SimpleException);
}

}  // namespace
}  // namespace kelvarion::util
