// What Subversion's configuration reader would misread. Free of every library, since the modules of
// the web server need it as well.
#pragma once

#include <optional>
#include <string_view>

namespace kelvarion::svn {

struct MisleadingLine {
  long number;  // The first is 1.
  const char* problem;
};

// The first line of a file that must not be handed to the reader. It steps back over the blanks
// before the "=" or ":" of an option without looking where its line begins, and leaves its buffer
// where nothing stands before them; of a value with a NUL it shows only the start, and the rest
// would be lost when the file is written.
std::optional<MisleadingLine> FindMisleadingLine(std::string_view text);

}  // namespace kelvarion::svn
