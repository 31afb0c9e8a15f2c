// A repository's history as real ones look, the same every time.
#pragma once

#include <string>

namespace kelvarion::bench {

// Writes a dump file of so many revisions: a trunk of a few thousand source files and some binary
// ones in folders, most revisions changing a few lines of one to fifteen files, some adding,
// renaming or removing files or changing properties, and a branch or tag every fifty.
void WriteHistory(const std::string& path, int revisions);

}  // namespace kelvarion::bench
