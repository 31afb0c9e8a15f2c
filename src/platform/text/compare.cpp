#include "platform/text/compare.h"

#include <unicode/tblcoll.h>
#include <unicode/uchar.h>
#include <unicode/utf16.h>

#include <algorithm>
#include <memory>

namespace kelvarion::platform {
namespace {

// The order of symbols that users of the management tools see there: each above the one before, all
// below the digits. "-" and "'" are missing, since they count only where nothing else differs.
constexpr const char16_t* kSymbolOrder =
    u"& ' ' < '!' < '\"' < '#' < '$' < '%' < '&' < '(' < ')' < '*' < ',' < '.' < '/' < ':' < ';'"
    u" < '?' < '@' < '[' < '\\' < ']' < '^' < '_' < '`' < '{' < '|' < '}' < '~' < '+' < '<' < '='"
    u" < '>'";

// A comparison does not change a collator, so all threads share it. Never destroyed. Null when the
// collation data is not there.
const icu::Collator* MakeCollator(bool numeric) {
  UErrorCode status = U_ZERO_ERROR;
  auto collator = std::make_unique<icu::RuleBasedCollator>(
      icu::UnicodeString(kSymbolOrder), icu::Collator::SECONDARY, UCOL_ON, status);
  if (U_FAILURE(status)) return nullptr;
  collator->setAttribute(UCOL_ALTERNATE_HANDLING, UCOL_NON_IGNORABLE, status);
  collator->setAttribute(UCOL_NUMERIC_COLLATION, numeric ? UCOL_ON : UCOL_OFF, status);
  return U_SUCCESS(status) ? collator.release() : nullptr;
}

// Marks of a word that are looked at last: none, then "'", then "-".
int MarkRank(char16_t c) { return c == u'\'' ? 1 : c == u'-' ? 2 : 0; }

std::u16string WithoutMarks(std::u16string_view text) {
  std::u16string plain(text);
  std::erase_if(plain, [](char16_t c) { return MarkRank(c) != 0; });
  return plain;
}

int CompareMarks(std::u16string_view a, std::u16string_view b) {
  const std::size_t common = std::min(a.size(), b.size());
  for (std::size_t i = 0; i < common; ++i)
    if (const int difference = MarkRank(a[i]) - MarkRank(b[i])) return difference;
  const auto rest = [common](std::u16string_view text) {
    const auto from = text.begin() + static_cast<std::ptrdiff_t>(common);
    return std::any_of(from, text.end(), [](char16_t c) { return MarkRank(c) != 0; });
  };
  return static_cast<int>(rest(a)) - static_cast<int>(rest(b));
}

bool IsDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

std::size_t NextDigitRun(std::u16string_view text, std::size_t& at) {
  while (at < text.size() && !IsDigit(text[at])) ++at;
  const std::size_t start = at;
  while (at < text.size() && IsDigit(text[at])) ++at;
  return at - start;
}

// Between numbers of one value the one with more leading zeros comes first.
int CompareDigitRuns(std::u16string_view a, std::u16string_view b) {
  std::size_t at_a = 0;
  std::size_t at_b = 0;
  while (at_a < a.size() && at_b < b.size()) {
    const std::size_t length_a = NextDigitRun(a, at_a);
    const std::size_t length_b = NextDigitRun(b, at_b);
    if (length_a != length_b) return length_a > length_b ? -1 : 1;
  }
  return 0;
}

int Compare(const icu::Collator* collator, std::u16string_view a, std::u16string_view b,
            bool numeric) {
  const std::u16string plain_a = WithoutMarks(a);
  const std::u16string plain_b = WithoutMarks(b);
  const auto length = [](const std::u16string& text) {
    return static_cast<std::int32_t>(text.size());
  };
  UErrorCode status = U_ZERO_ERROR;
  const int order =
      collator ? static_cast<int>(collator->compare(plain_a.data(), length(plain_a), plain_b.data(),
                                                    length(plain_b), status))
               : icu::UnicodeString(plain_a.data(), length(plain_a))
                     .caseCompare(icu::UnicodeString(plain_b.data(), length(plain_b)), 0);
  if (order != 0) return order;
  if (const int digits = numeric ? CompareDigitRuns(a, b) : 0) return digits;
  return CompareMarks(a, b);
}

bool IsPrintableAscii(std::u16string_view text) {
  return std::all_of(text.begin(), text.end(), [](char16_t c) { return c >= 0x20 && c < 0x7F; });
}

char16_t LowerAscii(char16_t c) {
  return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 32) : c;
}

}  // namespace

int CompareIgnoreCase(std::u16string_view a, std::u16string_view b) {
  static const icu::Collator* const collator = MakeCollator(false);
  return Compare(collator, a, b, false);
}

bool EqualIgnoreCase(std::u16string_view a, std::u16string_view b) {
  // Nearly all names are ASCII, where the linguistic comparison is that of the letters.
  if (IsPrintableAscii(a) && IsPrintableAscii(b))
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char16_t x, char16_t y) { return LowerAscii(x) == LowerAscii(y); });
  return CompareIgnoreCase(a, b) == 0;
}

int CompareLogical(std::u16string_view a, std::u16string_view b) {
  static const icu::Collator* const collator = MakeCollator(true);
  return Compare(collator, a, b, true);
}

std::u16string FoldCase(std::u16string_view text) {
  std::u16string folded;
  folded.reserve(text.size());
  for (std::size_t i = 0; i < text.size();) {
    UChar32 c = 0;
    U16_NEXT(text, i, text.size(), c);
    c = u_foldCase(c, U_FOLD_CASE_DEFAULT);
    if (c > 0xFFFF)
      folded += {U16_LEAD(c), U16_TRAIL(c)};
    else
      folded.push_back(static_cast<char16_t>(c));
  }
  return folded;
}

bool IsWhiteSpace(char16_t c) { return u_isUWhiteSpace(c) != 0; }

}  // namespace kelvarion::platform
