// The comparisons of the invariant locale that names are matched and sorted by.
#pragma once

#include <string>
#include <string_view>

namespace kelvarion::platform {

// Linguistic comparison ignoring case: below, equal to or above zero.
int CompareIgnoreCase(std::u16string_view a, std::u16string_view b);
bool EqualIgnoreCase(std::u16string_view a, std::u16string_view b);

// As CompareIgnoreCase, with runs of digits compared as numbers: repo2 before repo10.
int CompareLogical(std::u16string_view a, std::u16string_view b);

// The order of names in lists for people: `std::ranges::sort(names, LogicalLess{})`. Names that
// differ in nothing but case have an order, too, so that lists come out the same each time.
struct LogicalLess {
  bool operator()(std::u16string_view a, std::u16string_view b) const {
    const int order = CompareLogical(a, b);
    return order != 0 ? order < 0 : a < b;
  }
};

// The text with the case of every character folded away, for keys that compare ordinally.
std::u16string FoldCase(std::u16string_view text);

// Blanks of every kind, and what ends lines and paragraphs.
bool IsWhiteSpace(char16_t c);

}  // namespace kelvarion::platform
