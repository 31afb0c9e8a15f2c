#include "platform/text/compare.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "platform/text/encoding.h"

namespace kelvarion::platform {
namespace {

int Sign(int value) { return (value > 0) - (value < 0); }

struct Row {
  std::u16string a;
  std::u16string b;
  int logical;
  int ignore_case;
};

TEST(CompareTest, OrdersAsTheManagementToolsDo) {
  const Row rows[] = {
      {u"repo2", u"repo10", -1, 1},
      {u"01", u"1", -1, -1},
      {u"A1", u"a1", 0, 0},
      {u"abc123", u"abc0123", 1, 1},
      {u"-o", u"/m", 1, 1},
      {u"'o", u"-o", -1, -1},
      {u"#", u".", -1, -1},
      {u"_", u".", 1, 1},
      {u"co-op", u"coop", 1, 1},
      {u"co-op", u"coot", -1, -1},
      {u"caf\u00E9", u"CAF\u00C9", 0, 0},
      {u"caf\u00E9", u"cafe", 1, 1},
      {u"i", u"I", 0, 0},
      {u"i", u"\u0131", -1, -1},
      {u"\u00C1", u"A\u0301", 0, 0},
      {u"\u0130", u"\u0131", -1, -1},
      {u"repo 2", u"repo2", -1, -1},
      {u"stra\u00DFe", u"strasse", 1, 1},
      {u"", u"a", -1, -1},
      {u"", u"", 0, 0},
      {u"a-", u"a", 1, 1},
      {u"1-2", u"12", 1, 1},
      {u"r\U0001F600", u"R\U0001F600", 0, 0},
  };
  for (const Row& row : rows) {
    const std::string what = Utf8ForDisplay(row.a) + " | " + Utf8ForDisplay(row.b);
    EXPECT_EQ(Sign(CompareLogical(row.a, row.b)), row.logical) << what;
    EXPECT_EQ(Sign(CompareLogical(row.b, row.a)), -row.logical) << what;
    EXPECT_EQ(Sign(CompareIgnoreCase(row.a, row.b)), row.ignore_case) << what;
    EXPECT_EQ(Sign(CompareIgnoreCase(row.b, row.a)), -row.ignore_case) << what;
    EXPECT_EQ(EqualIgnoreCase(row.a, row.b), row.ignore_case == 0) << what;
  }
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
