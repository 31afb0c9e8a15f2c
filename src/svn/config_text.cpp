#include "svn/config_text.h"

#include <algorithm>

namespace kelvarion::svn {

std::optional<MisleadingLine> FindMisleadingLine(std::string_view text) {
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  const auto line_of = [&](std::size_t at) {
    return 1 + static_cast<long>(std::ranges::count(text.substr(0, at), '\n'));
  };
  if (const std::size_t nul = text.find('\0'); nul != text.npos)
    return MisleadingLine{line_of(nul), "Option contains a NUL"};
  for (std::size_t start = 0; start < text.size();) {
    const std::size_t first = std::min(text.find_first_not_of('\r', start), text.size());
    if (first < text.size() && (text[first] == '=' || text[first] == ':'))
      return MisleadingLine{line_of(first), "Option has no name"};
    start = std::min(text.find('\n', first), text.size() - 1) + 1;
  }
  return std::nullopt;
}

}  // namespace kelvarion::svn
