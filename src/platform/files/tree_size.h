// What a folder holds, counted.
#pragma once

#include <cstdint>
#include <string>

#include "platform/com/types.h"

namespace kelvarion::platform {

// Files are whatever is not a folder; a link counts as itself and is not followed. Folders have no
// size of their own, and the measured one is not counted.
struct TreeSize {
  std::uint64_t bytes = 0;
  std::uint64_t bytes_on_disk = 0;
  std::uint64_t files = 0;
  std::uint64_t folders = 0;
};

// Walks the tree folder by folder, the nearest first, while others may change it: what vanishes
// meanwhile counts as empty, the folder itself included. Another failure stops the walk and leaves
// the folder that it happened at in `failed`.
Win32Error MeasureTree(const std::u16string& folder, TreeSize& out, std::u16string& failed);

}  // namespace kelvarion::platform
