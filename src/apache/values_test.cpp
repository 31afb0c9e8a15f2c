#include "apache/values.h"

#include <gtest/gtest.h>

#include "platform/text/encoding.h"

namespace kelvarion::apache {
namespace {

using Texts = std::vector<std::u16string>;

void Expect(bool (*is)(const std::u16string&), const Texts& accepted, const Texts& refused) {
  for (const std::u16string& text : accepted)
    EXPECT_TRUE(is(text)) << platform::Utf8ForDisplay(text);
  for (const std::u16string& text : refused)
    EXPECT_FALSE(is(text)) << platform::Utf8ForDisplay(text);
}

TEST(ConfigurationValuesTest, NothingQuotableEndsItsQuotesOrItsLine) {
  Expect(IsQuotable, {u"", u"/srv/Sch\u00F6ne Ablage (neu)", u"/srv/$HOME {x} %1"},
         {u"/srv/a\"b", u"/srv/a\nInclude /etc/passwd", u"/srv/a\r", std::u16string(u"/srv\0x", 6),
          u"/srv/\u0085", u"/srv/${PATH}", u"/srv\\", u"/srv/\xDC00"});
}

TEST(ConfigurationValuesTest, PrefixesAreOnePlainPathComponent) {
  Expect(IsUrlPrefix, {u"", u"/svn", u"/My-repos_2"},
         {u"/", u"svn", u"/svn/", u"/a/b", u"/svn.1", u"/\u00E4", u"//", u"/a b"});
}

TEST(ConfigurationValuesTest, StoredPrefixesMayBeOddButNotHarmful) {
  Expect(IsServablePrefix, {u"", u"/a/b.c~1", u"/svn/"},
         {u"/a b", u"/a\")</script>", u"/a\n", u"/a$", u"a"});
}

TEST(ConfigurationValuesTest, AddressesHoldOnlyWhatAddressesAreMadeOf) {
  Expect(IsListenAddress, {u"127.0.0.1", u"::1", u"[fe80::1%eth0]", u"all"},
         {u"", u"1.2.3.4 http", u"1\"\n"});
}

}  // namespace
}  // namespace kelvarion::apache
