#include "platform/security/sid.h"

#include "platform/text/format.h"

namespace kelvarion::platform {
namespace {

constexpr std::uint64_t kUnixAuthority = 22;
constexpr std::uint32_t kUnixUser = 1;
constexpr std::uint32_t kUnixGroup = 2;
constexpr std::uint64_t kLargestAuthority = 0xFFFFFFFFFFFFULL;
constexpr std::size_t kMostParts = 15;

int DigitOf(char16_t c) {
  if (c >= u'0' && c <= u'9') return c - u'0';
  if (c >= u'a' && c <= u'f') return c - u'a' + 10;
  if (c >= u'A' && c <= u'F') return c - u'A' + 10;
  return 99;
}

std::optional<std::uint64_t> ParseNumber(std::u16string_view text, std::uint64_t largest,
                                         unsigned base) {
  if (text.empty()) return std::nullopt;
  std::uint64_t value = 0;
  for (const char16_t c : text) {
    const auto digit = static_cast<unsigned>(DigitOf(c));
    if (digit >= base) return std::nullopt;
    value = value * base + digit;
    if (value > largest) return std::nullopt;
  }
  return value;
}

std::optional<std::uint64_t> ParseAuthority(std::u16string_view text) {
  if (text.starts_with(u"0x") || text.starts_with(u"0X"))
    return ParseNumber(text.substr(2), kLargestAuthority, 16);
  return ParseNumber(text, kLargestAuthority, 10);
}

std::optional<std::uint32_t> PartBelow(const Sid& sid, std::uint32_t kind) {
  if (sid.authority != kUnixAuthority || sid.parts.size() != 2 || sid.parts[0] != kind)
    return std::nullopt;
  return sid.parts[1];
}

}  // namespace

std::optional<Sid> ParseSid(std::u16string_view text) {
  if (!text.starts_with(u"S-1-") && !text.starts_with(u"s-1-")) return std::nullopt;
  text.remove_prefix(4);
  Sid sid;
  for (bool first = true;; first = false) {
    const std::size_t end = text.find(u'-');
    const std::u16string_view word = text.substr(0, end);
    const auto number = first ? ParseAuthority(word) : ParseNumber(word, 0xFFFFFFFFULL, 10);
    if (!number) return std::nullopt;
    if (first)
      sid.authority = *number;
    else
      sid.parts.push_back(static_cast<std::uint32_t>(*number));
    if (end == text.npos) break;
    text.remove_prefix(end + 1);
  }
  if (sid.parts.empty() || sid.parts.size() > kMostParts) return std::nullopt;
  return sid;
}

std::u16string ToText(const Sid& sid) {
  // Formats carry 32 bits in hexadecimal, so a large authority is written in two parts.
  std::u16string text =
      sid.authority <= 0xFFFFFFFFULL
          ? Format(u"S-1-%lu", sid.authority)
          : Format(u"S-1-0x%4.4X%8.8X", static_cast<std::uint32_t>(sid.authority >> 32),
                   static_cast<std::uint32_t>(sid.authority));
  for (const std::uint32_t part : sid.parts) text += Format(u"-%u", part);
  return text;
}

Sid UserSid(std::uint32_t uid) { return {kUnixAuthority, {kUnixUser, uid}}; }
Sid GroupSid(std::uint32_t gid) { return {kUnixAuthority, {kUnixGroup, gid}}; }
std::optional<std::uint32_t> UserOf(const Sid& sid) { return PartBelow(sid, kUnixUser); }
std::optional<std::uint32_t> GroupOf(const Sid& sid) { return PartBelow(sid, kUnixGroup); }

}  // namespace kelvarion::platform
