#include "platform/text/format.h"

#include <gtest/gtest.h>

#include "platform/com/types.h"

namespace kelvarion {
namespace {

TEST(FormatTest, FillsEveryKindOfPlaceholder) {
  const std::pair<std::u16string, std::u16string> rows[] = {
      {Format(u"nothing"), u"nothing"},
      {Format(u"100%%"), u"100%"},
      {Format(u"'%s'", u"a%sb"), u"'a%sb'"},
      {Format(u"%s|%s", std::u16string(u"\u00E4"), std::u16string_view(u"")), u"\u00E4|"},
      {Format(u"%s%c%s", u"a", u'/', u"b"), u"a/b"},
      {Format(u"%d %ld", -5, std::int64_t{-5'000'000'000}), u"-5 -5000000000"},
      {Format(u"%u %lu", 5u, std::uint64_t{18'446'744'073'709'551'615u}),
       u"5 18446744073709551615"},
      {Format(u"0x%8.8X", WBEM_E_NOT_FOUND), u"0x80041002"},
      {Format(u"0x%8.8x", HRESULT{10}), u"0x0000000a"},
      {Format(u"%03d|%-4d|%4u", 7, 7, 7u), u"007|7   |   7"},
      {Format(u"%d", std::uint16_t{1} * 1), u"1"},
  };
  for (const auto& [made, expected] : rows) EXPECT_EQ(made, expected);
}

}  // namespace
}  // namespace kelvarion
