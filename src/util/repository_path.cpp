#include "util/repository_path.h"

#include <algorithm>

namespace kelvarion::util {

bool HasPart(std::u16string_view path, std::u16string_view part) {
  for (std::size_t start = 0; start <= path.size();) {
    const std::size_t end = std::min(path.find(u'/', start), path.size());
    if (path.substr(start, end - start) == part) return true;
    start = end + 1;
  }
  return false;
}

bool IsCanonicalRepositoryPath(std::u16string_view path) {
  if (!path.starts_with(u'/')) return false;
  const std::u16string_view relative = path.substr(1);
  return relative.empty() || !(HasPart(relative, u"") || HasPart(relative, u"."));
}

bool RepositoryPathLess::operator()(std::u16string_view a, std::u16string_view b) const {
  const auto rank = [](char16_t unit) { return unit == u'/' ? 0 : unit + 1; };
  return std::ranges::lexicographical_compare(a, b, {}, rank, rank);
}

}  // namespace kelvarion::util
