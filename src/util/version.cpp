#include "util/version.h"

#include <algorithm>
#include <array>
#include <limits>

#include "errors/exception.h"

namespace kelvarion::util {
namespace {

constexpr std::size_t kGroups = 4;

// As the C library's conversion: blanks, a sign, digits; 0 without digits, limited to 32 bits.
std::int32_t LeadingNumber(std::u16string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(u" \t\n\v\f\r"), text.size()));
  const bool negative = text.starts_with(u'-');
  if (negative || text.starts_with(u'+')) text.remove_prefix(1);
  std::int64_t number = 0;
  for (const char16_t c : text) {
    if (c < u'0' || c > u'9') break;
    number =
        std::min<std::int64_t>(number * 10 + (c - u'0'), std::numeric_limits<std::int32_t>::max());
  }
  return static_cast<std::int32_t>(negative ? -number : number);
}

}  // namespace

ProviderVersion ParseVersion(std::u16string_view text) {
  std::array<std::int32_t, kGroups> groups{};
  std::size_t count = 0;
  for (std::size_t start = 0; start <= text.size(); ++count) {
    if (count == kGroups)
      throw SimpleException(u"Cannot parse version string '%s'. Number of groups exceeds %d.", text,
                            static_cast<int>(kGroups));
    const std::size_t end = std::min(text.find(u'.', start), text.size());
    groups[count] = LeadingNumber(text.substr(start, end - start));
    start = end + 1;
  }
  return {groups[0], groups[1], groups[2], groups[3]};
}

std::u16string FormatVersion(const ProviderVersion& version) {
  std::u16string text = Format(u"%d", version.major);
  for (const std::int32_t part : {version.minor, version.build, version.revision})
    if (part >= 0) text += Format(u".%d", part);
  return text;
}

}  // namespace kelvarion::util
