// Removing folders with everything in them.
#pragma once

#include <string>

#include "svn/pool.h"

namespace kelvarion::svn {

// What the path names is gone afterwards; nothing there is success. Of a symbolic link, at the path
// or below it, the link itself goes and nothing that it leads to. Throws SvnException.
void RemoveTree(const std::string& path, const Pool& scratch);

}  // namespace kelvarion::svn
