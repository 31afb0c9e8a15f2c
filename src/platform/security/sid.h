// The text form of security identifiers.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/com/types.h"

namespace kelvarion::platform {

// Revision 1: an authority of 48 bits and 1 to 15 numbers of 32 bits below it.
struct Sid {
  std::uint64_t authority = 0;
  std::vector<std::uint32_t> parts;
  friend bool operator==(const Sid&, const Sid&) = default;
};

// Nothing for a text that is no SID: no blanks, signs or other notations pass. Numbers may have
// leading zeros and the first letter may be small; the authority may be written 0x….
std::optional<Sid> ParseSid(std::u16string_view text);

// The canonical form; an authority above 32 bits is written 0x and 12 digits.
std::u16string ToText(const Sid& sid);

// S-1-22-1-uid and S-1-22-2-gid.
Sid UserSid(std::uint32_t uid);
Sid GroupSid(std::uint32_t gid);

// The Unix user or group that the SID stands for.
std::optional<std::uint32_t> UserOf(const Sid& sid);
std::optional<std::uint32_t> GroupOf(const Sid& sid);

}  // namespace kelvarion::platform
