// The table of the resources, which the build generates.
#pragma once

#include <span>
#include <string_view>

namespace kelvarion::util {

struct Resource {
  std::u16string_view type;
  std::u16string_view name;
  const char* begin;
  const char* end;
};

std::span<const Resource> AllResources();

}  // namespace kelvarion::util
