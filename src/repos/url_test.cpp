#include "repos/url.h"

#include <gtest/gtest.h>

namespace kelvarion::repos {
namespace {

TEST(RepositoryUrlTest, NamesTheServerThePortAndThePath) {
  const struct {
    UrlSettings settings;
    std::u16string repository;
    std::u16string path;
    std::u16string url;
  } rows[] = {
      {{u"h", true, 443, u"/svn"}, u"r", u"/", u"https://h/svn/r/"},
      {{u"h", true, 8443, u"/svn"}, u"r", u"/", u"https://h:8443/svn/r/"},
      {{u"h", true, 80, u"/svn"}, u"r", u"/", u"https://h:80/svn/r/"},
      {{u"h", false, 80, u"/svn"}, u"r", u"/", u"http://h/svn/r/"},
      {{u"h", true, 443, u"/svn"}, u"r", u"/trunk", u"https://h/svn/r/trunk"},
      {{u"h", false, 8080, u""}, u"r", u"/", u"http://h:8080/r/"},
      {{u"h", false, 80, u"/svn"}, u"", u"", u"http://h/svn/"},
      {{u"h", false, 80, u""},
       u"a b#1%",
       u"/\u00E4?/[x];",
       u"http://h/a%20b%231%25/%C3%A4%3F/%5Bx%5D%3B"},
  };
  for (const auto& row : rows)
    EXPECT_EQ(BuildRepositoryUrl(row.repository, row.path, row.settings), row.url);
}

}  // namespace
}  // namespace kelvarion::repos
