// How names of classes, properties, methods, qualifiers and keys compare: ignoring case.
#pragma once

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>

#include "platform/text/compare.h"

namespace kelvarion::platform::wmi {

inline char16_t FoldCharacter(char16_t c) {
  return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 32) : c;
}

// Names are ASCII nearly always, and are compared often: only others are worth a collation.
inline bool EqualNames(std::u16string_view a, std::u16string_view b) {
  const auto ascii = [](char16_t c) { return c < 128; };
  if (std::all_of(a.begin(), a.end(), ascii) && std::all_of(b.begin(), b.end(), ascii))
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char16_t x, char16_t y) { return FoldCharacter(x) == FoldCharacter(y); });
  return EqualIgnoreCase(a, b);
}

// What all spellings of an ASCII name have in common, for maps.
inline std::u16string FoldName(std::u16string_view name) {
  std::u16string folded(name);
  std::transform(folded.begin(), folded.end(), folded.begin(), FoldCharacter);
  return folded;
}

// The element of that name, or end.
template <class Range>
auto FindNamed(Range& range, std::u16string_view name) {
  return std::find_if(std::begin(range), std::end(range),
                      [name](const auto& element) { return EqualNames(element.name, name); });
}

}  // namespace kelvarion::platform::wmi
