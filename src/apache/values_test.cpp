#include "apache/values.h"

#include <gtest/gtest.h>

namespace kelvarion::apache {
namespace {

struct Row {
  std::u16string text;
  bool accepted;
};

TEST(ConfigurationValuesTest, NothingQuotableEndsItsQuotesOrItsLine) {
  const Row rows[] = {
      {u"/srv/Sch\u00F6ne Ablage (neu)", true},
      {u"", true},
      {u"/srv/$HOME {x} %1", true},
      {u"/srv/a\"b", false},
      {u"/srv/a\nInclude /etc/passwd", false},
      {u"/srv/a\r", false},
      {std::u16string(u"/srv\0x", 6), false},
      {u"/srv/\u0085", false},
      {u"/srv/${PATH}", false},
      {u"/srv\\", false},
      {u"/srv/\xDC00", false},
  };
  for (const Row& row : rows)
    EXPECT_EQ(IsQuotable(row.text), row.accepted) << std::string(row.text.begin(), row.text.end());
}

TEST(ConfigurationValuesTest, PrefixesAreOnePlainPathComponent) {
  for (const auto& [text, accepted] :
       {Row{u"", true}, Row{u"/svn", true}, Row{u"/My-repos_2", true}, Row{u"/", false},
        Row{u"svn", false}, Row{u"/svn/", false}, Row{u"/a/b", false}, Row{u"/svn.1", false},
        Row{u"/\u00E4", false}, Row{u"//", false}, Row{u"/a b", false}}) {
    EXPECT_EQ(IsUrlPrefix(text), accepted) << std::string(text.begin(), text.end());
  }
}

TEST(ConfigurationValuesTest, StoredPrefixesMayBeOddButNotHarmful) {
  for (const auto& [text, accepted] :
       {Row{u"", true}, Row{u"/a/b.c~1", true}, Row{u"/svn/", true}, Row{u"/a b", false},
        Row{u"/a\")</script>", false}, Row{u"/a\n", false}, Row{u"/a$", false}, Row{u"a", false}}) {
    EXPECT_EQ(IsServablePrefix(text), accepted) << std::string(text.begin(), text.end());
  }
}

TEST(ConfigurationValuesTest, AddressesHoldOnlyWhatAddressesAreMadeOf) {
  for (const auto& [text, accepted] :
       {Row{u"127.0.0.1", true}, Row{u"::1", true}, Row{u"[fe80::1%eth0]", true}, Row{u"all", true},
        Row{u"", false}, Row{u"1.2.3.4 http", false}, Row{u"1\"\n", false}}) {
    EXPECT_EQ(IsListenAddress(text), accepted) << std::string(text.begin(), text.end());
  }
}

}  // namespace
}  // namespace kelvarion::apache
