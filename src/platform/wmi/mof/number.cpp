#include "platform/wmi/mof/number.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <string>

namespace kelvarion::platform::wmi::mof {
namespace {

int HexValue(char16_t c) {
  if (c >= u'0' && c <= u'9') return c - u'0';
  if (c >= u'a' && c <= u'f') return c - u'a' + 10;
  if (c >= u'A' && c <= u'F') return c - u'A' + 10;
  return -1;
}

}  // namespace

bool IsHexDigit(char16_t c) { return HexValue(c) >= 0; }

bool ReadDigits(std::u16string_view digits, unsigned base, std::uint64_t& out) {
  std::uint64_t number = 0;
  for (const char16_t c : digits) {
    const int digit = HexValue(c);
    if (digit < 0 || static_cast<unsigned>(digit) >= base) return false;
    const std::uint64_t value = static_cast<std::uint64_t>(digit);
    if (number > (std::numeric_limits<std::uint64_t>::max() - value) / base) return false;
    number = number * base + value;
  }
  out = number;
  return !digits.empty();
}

bool ReadInteger(std::u16string_view text, std::uint64_t& out) {
  if (text.starts_with(u"0x") || text.starts_with(u"0X"))
    return ReadDigits(text.substr(2), 16, out);
  if (text.ends_with(u'b') || text.ends_with(u'B'))
    return ReadDigits(text.substr(0, text.size() - 1), 2, out);
  return ReadDigits(text, text.size() > 1 && text.front() == u'0' ? 8 : 10, out);
}

bool ReadReal(std::u16string_view text, double& out) {
  const std::size_t point = text.find(u'.');
  const std::size_t end = std::min(text.find_first_of(u"eE"), text.size());
  if (point == text.npos || point == 0 || point + 1 >= end) return false;
  if (!std::all_of(text.begin(), text.end(), [](char16_t c) { return c < 128; })) return false;
  const std::string ascii(text.begin(), text.end());
  const auto [stop, error] = std::from_chars(ascii.data(), ascii.data() + ascii.size(), out);
  return error == std::errc() && stop == ascii.data() + ascii.size();
}

}  // namespace kelvarion::platform::wmi::mof
