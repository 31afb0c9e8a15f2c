#include <cstdio>

#include "platform/com/types.h"

namespace kelvarion {
namespace {

constexpr std::size_t kTextLength = 38;

int HexDigit(char16_t c) {
  if (c >= u'0' && c <= u'9') return c - u'0';
  if (c >= u'a' && c <= u'f') return c - u'a' + 10;
  if (c >= u'A' && c <= u'F') return c - u'A' + 10;
  return -1;
}

bool IsPunctuation(std::size_t index) {
  return index == 0 || index == 9 || index == 14 || index == 19 || index == 24 || index == 37;
}

}  // namespace

std::u16string ToText(const Guid& guid) {
  char text[kTextLength + 1];
  const auto& d = guid.data4;
  std::snprintf(text, sizeof text, "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}", guid.data1,
                guid.data2, guid.data3, d[0], d[1], d[2], d[3], d[4], d[5], d[6], d[7]);
  return std::u16string(text, text + kTextLength);
}

std::optional<Guid> ParseGuid(std::u16string_view text) {
  constexpr std::u16string_view kShape = u"{00000000-0000-0000-0000-000000000000}";
  if (text.size() != kTextLength) return std::nullopt;
  std::array<std::uint8_t, 16> bytes{};
  std::size_t nibble = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (IsPunctuation(i)) {
      if (text[i] != kShape[i]) return std::nullopt;
      continue;
    }
    const int digit = HexDigit(text[i]);
    if (digit < 0) return std::nullopt;
    bytes[nibble / 2] = static_cast<std::uint8_t>(bytes[nibble / 2] << 4 | digit);
    ++nibble;
  }
  Guid guid;
  guid.data1 = static_cast<std::uint32_t>(bytes[0]) << 24 |
               static_cast<std::uint32_t>(bytes[1]) << 16 |
               static_cast<std::uint32_t>(bytes[2]) << 8 | bytes[3];
  guid.data2 = static_cast<std::uint16_t>(bytes[4] << 8 | bytes[5]);
  guid.data3 = static_cast<std::uint16_t>(bytes[6] << 8 | bytes[7]);
  for (std::size_t i = 0; i < 8; ++i) guid.data4[i] = bytes[8 + i];
  return guid;
}

}  // namespace kelvarion
