// Owners and modes of single files, links never followed.
#pragma once

#include <cstdint>
#include <string>

#include "platform/com/types.h"

namespace kelvarion::platform {

struct Ownership {
  std::uint32_t user = 0;
  std::uint32_t group = 0;
  std::uint32_t mode = 0;  // The nine bits of permissions and the three above them.
  bool link = false;
  bool folder = false;
};

// UTF-8 paths; Win32 error codes.
Win32Error ReadOwnership(const std::string& path, Ownership& out);
Win32Error ChangeOwner(const std::string& path, std::uint32_t user, std::uint32_t group);
// ERROR_NOT_SUPPORTED for a link.
Win32Error ChangeMode(const std::string& path, std::uint32_t mode);

}  // namespace kelvarion::platform
