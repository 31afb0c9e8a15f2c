#include <cstdio>

#include "platform/com/types.h"

namespace kelvarion {

std::u16string ToText(const Guid& guid) {
  constexpr std::size_t kLength = 38;
  char text[kLength + 1];
  const auto& d = guid.data4;
  std::snprintf(text, sizeof text, "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}", guid.data1,
                guid.data2, guid.data3, d[0], d[1], d[2], d[3], d[4], d[5], d[6], d[7]);
  return std::u16string(text, text + kLength);
}

}  // namespace kelvarion
