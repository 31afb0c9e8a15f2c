// Versions of four numbers, as providers and clients state them.
#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <string_view>

namespace kelvarion {

// A part is -1 when it was not given.
struct ProviderVersion {
  std::int32_t major = -1;
  std::int32_t minor = -1;
  std::int32_t build = -1;
  std::int32_t revision = -1;
  friend auto operator<=>(const ProviderVersion&, const ProviderVersion&) = default;
};

namespace util {

// Up to four groups separated by dots, each read like wcstol and 0 when it has no digits; groups
// that are missing are 0. A fifth group throws SimpleException.
ProviderVersion ParseVersion(std::u16string_view text);

// "3.5.0.12": the major number and every further part that is not negative.
std::u16string FormatVersion(const ProviderVersion& version);

}  // namespace util
}  // namespace kelvarion
