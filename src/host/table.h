// Text in aligned columns, for people.
#pragma once

#include <string>
#include <vector>

namespace kelvarion::host {

struct Table {
  std::vector<std::string> headings;  // UTF-8.
  std::vector<std::vector<std::string>> rows;

  // Columns that the first `count` columns need on a terminal, blanks between them included.
  int Width(std::size_t count) const;
  // The first `count` columns; each line ends with a line feed. Control characters are escaped.
  std::string Render(std::size_t count) const;
};

}  // namespace kelvarion::host
