// Paths inside repositories, as clients give them.
#pragma once

#include <string_view>

namespace kelvarion::util {

// The path begins with "/" and, "/" itself aside, has no empty part, no part that is a single dot
// and no "/" at the end.
bool IsCanonicalRepositoryPath(std::u16string_view path);

// Whether one of the parts between the slashes is exactly this.
bool HasPart(std::u16string_view path, std::u16string_view part);

// The order in which one commit can make paths: a parent stands before everything below it, and
// that before its other neighbours.
struct RepositoryPathLess {
  bool operator()(std::u16string_view a, std::u16string_view b) const;
};

}  // namespace kelvarion::util
