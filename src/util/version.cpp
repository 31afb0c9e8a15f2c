#include "util/version.h"

#include <cwchar>

#include "errors/exception.h"

namespace kelvarion::util {
namespace {

constexpr std::size_t kGroups = 4;

std::int32_t LeadingNumber(std::u16string_view group) {
  const std::wstring text(group.begin(), group.end());
  return static_cast<std::int32_t>(std::wcstol(text.c_str(), nullptr, 10));
}

}  // namespace

ProviderVersion ParseVersion(std::u16string_view text) {
  std::int32_t numbers[kGroups] = {};
  std::size_t group = 0;
  for (std::u16string_view rest = text;; ++group) {
    if (group == kGroups)
      throw SimpleException(u"Cannot parse version string '%s'. Number of groups exceeds %d.",
                            std::u16string(text), static_cast<std::int32_t>(kGroups));
    const std::size_t dot = rest.find(u'.');
    numbers[group] = LeadingNumber(rest.substr(0, dot));
    if (dot == std::u16string_view::npos) break;
    rest.remove_prefix(dot + 1);
  }
  return {numbers[0], numbers[1], numbers[2], numbers[3]};
}

std::u16string FormatVersion(const ProviderVersion& version) {
  std::u16string text = Format(u"%d", version.major);
  for (const std::int32_t part : {version.minor, version.build, version.revision}) {
    if (part < 0) break;
    text += Format(u".%d", part);
  }
  return text;
}

}  // namespace kelvarion::util
