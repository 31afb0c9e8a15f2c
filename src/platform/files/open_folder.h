// Folders that are open for reading what lies in them.
#pragma once

#include <dirent.h>

#include <memory>
#include <string>

namespace kelvarion::platform {

struct CloseFolder {
  void operator()(DIR* folder) const { closedir(folder); }
};
using OpenFolder = std::unique_ptr<DIR, CloseFolder>;

// The folder `name` of the folder `at` (a descriptor, AT_FDCWD for a path); a link in its place is
// followed only if `links` says so. Null with errno set when it cannot be opened.
enum class Links { kFollow, kRefuse };
OpenFolder OpenFolderAt(int at, const std::string& name, Links links);

// The next entry that is neither the folder itself nor its parent; null at the end, and with errno
// set when the folder cannot be read.
const dirent* NextEntry(const OpenFolder& folder);

}  // namespace kelvarion::platform
