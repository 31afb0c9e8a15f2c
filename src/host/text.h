// Between the system's UTF-16 and what a terminal, a script and the command line speak.
#pragma once

#include <string>
#include <string_view>

#include "platform/com/types.h"
#include "platform/text/encoding.h"

namespace kelvarion::host {

// For showing: a damaged character becomes U+FFFD.
inline std::string Utf8(std::u16string_view text) { return platform::Utf8ForDisplay(text); }
inline std::u16string Utf16(std::string_view text) { return platform::Utf16ForDisplay(text); }

// "0x8004102F"
std::string StatusText(HRESULT status);

// "a, b, c"; for lists of names in messages.
template <class List>
std::u16string Join(const List& names, std::u16string_view separator = u", ") {
  std::u16string joined;
  for (const std::u16string& name : names) {
    if (!joined.empty()) joined += separator;
    joined += name;
  }
  return joined;
}

}  // namespace kelvarion::host
