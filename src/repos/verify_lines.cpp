#include "repos/verify_lines.h"

namespace kelvarion::repos {

std::string Escaped(std::string_view text) {
  std::string line;
  for (const char c : text) {
    if (c == '\\' || c == '\n') line += '\\';
    line += c == '\n' ? 'n' : c;
  }
  return line;
}

std::string Unescaped(std::string_view text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\' || i + 1 == text.size()) {
      result += text[i];
    } else {
      ++i;
      result += text[i] == 'n' ? '\n' : text[i];
    }
  }
  return result;
}

}  // namespace kelvarion::repos
