#include "platform/text/format.h"

#include <algorithm>
#include <cstdio>

namespace kelvarion::format_internal {
namespace {

std::u16string Number(const Argument& argument, std::u16string_view modifiers,
                      char16_t conversion) {
  std::string format = "%";
  for (const char16_t c : modifiers)
    if (c != u'l') format.push_back(static_cast<char>(c));
  format += "ll";
  format.push_back(static_cast<char>(conversion));
  std::uint64_t value = argument.number;
  // A negative status is shown as the 32-bit number that it is.
  if (conversion == u'x' || conversion == u'X') value &= 0xFFFFFFFFu;
  char text[64];
  const int length = std::snprintf(text, sizeof text, format.c_str(), value);
  return std::u16string(text, text + std::min<int>(length, sizeof text - 1));
}

}  // namespace

std::u16string FormatArguments(std::u16string_view format, const Argument* arguments,
                               std::size_t count) {
  std::u16string out;
  std::size_t next = 0;
  for (std::size_t i = 0; i < format.size(); ++i) {
    if (format[i] != u'%') {
      out.push_back(format[i]);
      continue;
    }
    const std::size_t start = ++i;
    while (i < format.size() && IsModifier(format[i])) ++i;
    if (i >= format.size()) break;
    if (format[i] == u'%') {
      out.push_back(u'%');
    } else if (next < count) {
      const Argument& argument = arguments[next++];
      if (argument.kind == Kind::kText)
        out += argument.text;
      else if (argument.kind == Kind::kCharacter)
        out.push_back(static_cast<char16_t>(argument.number));
      else
        out += Number(argument, format.substr(start, i - start), format[i]);
    }
  }
  return out;
}

}  // namespace kelvarion::format_internal
