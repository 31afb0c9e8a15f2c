#include "platform/text/compare.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "platform/text/encoding.h"

namespace kelvarion::platform {
namespace {

int Sign(int value) { return (value > 0) - (value < 0); }

TEST(CompareTest, OrdersAsTheManagementToolsDo) {
  // Both texts of a row, with a bar between them.
  const auto expect = [](const std::vector<std::u16string>& rows, int order) {
    for (const std::u16string& row : rows) {
      SCOPED_TRACE(Utf8ForDisplay(row));
      const std::u16string a = row.substr(0, row.find(u'|'));
      const std::u16string b = row.substr(a.size() + 1);
      EXPECT_EQ(Sign(CompareLogical(a, b)), order);
      EXPECT_EQ(Sign(CompareLogical(b, a)), -order);
      EXPECT_EQ(Sign(CompareIgnoreCase(a, b)), order);
      EXPECT_EQ(Sign(CompareIgnoreCase(b, a)), -order);
      EXPECT_EQ(EqualIgnoreCase(a, b), order == 0);
    }
  };
  expect({u"|", u"A1|a1", u"i|I", u"caf\u00E9|CAF\u00C9", u"\u00C1|A\u0301",
          u"r\U0001F600|R\U0001F600"},
         0);
  expect({u"|a", u"01|1", u"abc0123|abc123", u"12|1-2", u"/m|-o", u"'o|-o", u"#|.", u".|_", u"a|a-",
          u"coop|co-op", u"co-op|coot", u"repo 2|repo2", u"cafe|caf\u00E9", u"i|\u0131",
          u"\u0130|\u0131", u"strasse|stra\u00DFe"},
         -1);
  EXPECT_LT(CompareLogical(u"repo2", u"repo10"), 0);
  EXPECT_GT(CompareIgnoreCase(u"repo2", u"repo10"), 0);
}

// The shortcut for ASCII must answer what the collator answers.
TEST(CompareTest, EveryPairOfPrintableAsciiCharactersIsEqualExactlyWhenItsOrderIsEqual) {
  for (char16_t a = 0x20; a < 0x7F; ++a)
    for (char16_t b = 0x20; b < 0x7F; ++b) {
      const std::u16string x{u'x', a};
      const std::u16string y{u'x', b};
      EXPECT_EQ(EqualIgnoreCase(x, y), CompareIgnoreCase(x, y) == 0) << int{a} << " " << int{b};
    }
}

TEST(CompareTest, SortsTheSameWhateverTheOrderBefore) {
  std::vector<std::u16string> names{u"a",  u"a-b", u"ab",  u"a'b", u"a10",
                                    u"a9", u"a09", u"a-9", u"_",   u"+"};
  const auto below = [](const auto& x, const auto& y) { return CompareLogical(x, y) < 0; };
  std::sort(names.begin(), names.end(), below);
  const std::vector<std::u16string> sorted = names;
  for (int i = 0; i < 50; ++i) {
    std::rotate(names.begin(), names.begin() + 1, names.end());
    std::swap(names[0], names[static_cast<std::size_t>(i) % names.size()]);
    std::sort(names.begin(), names.end(), below);
    EXPECT_EQ(names, sorted);
  }
}

TEST(FoldCaseTest, FoldsEveryCharacterByItself) {
  EXPECT_EQ(FoldCase(u"SOFTWARE\\\u00C4\U00010400"), u"software\\\u00E4\U00010428");
  EXPECT_EQ(FoldCase(u"\u00DF\xD800z"), u"\u00DF\xD800z");
}

}  // namespace
}  // namespace kelvarion::platform
