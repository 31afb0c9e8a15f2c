#include "access/written_ini.h"

#include <algorithm>

#include "platform/text/encoding.h"

namespace kelvarion::access {
namespace {

constexpr std::string_view kLineEnd = "\r\n";

// Whether there are no control characters but the two of line ends, equally often: then blanks are
// nothing but spaces, and no line feed stands alone where no carriage return does.
bool HasOnlyLineEnds(std::string_view text) {
  std::size_t controls = 0;
  std::size_t returns = 0;
  std::size_t feeds = 0;
  for (const char c : text) {
    controls += static_cast<unsigned char>(c) < ' ' ? 1 : 0;
    returns += c == '\r' ? 1 : 0;
    feeds += c == '\n' ? 1 : 0;
  }
  return returns == feeds && controls == returns + feeds;
}

bool IsUtf8(std::string_view text) {
  std::u16string ignored;
  return platform::Utf8ToUtf16(text, ignored);
}

// The order of UTF-16's code units, in which surrogates stand before U+E000, for UTF-8.
bool IsBefore(std::string_view a, std::string_view b) {
  const auto [in_a, in_b] = std::ranges::mismatch(a, b);
  if (in_a == a.end() || in_b == b.end()) return in_b != b.end();
  const auto rank = [](char c) {
    const int byte = static_cast<unsigned char>(c);
    return byte < 0xEE ? byte : byte < 0xF0 ? byte + 5 : byte - 2;
  };
  return rank(*in_a) < rank(*in_b);
}

// Cuts the next line off, without its end.
bool TakeLine(std::string_view& text, std::string_view& line) {
  const std::size_t end = text.find(kLineEnd.front());
  if (end == text.npos || !text.substr(end).starts_with(kLineEnd)) return false;
  line = text.substr(0, end);
  text.remove_prefix(end + kLineEnd.size());
  return true;
}

bool SkipComments(std::string_view& text) {
  std::string_view line;
  while (text.starts_with('#') || text.starts_with('\r'))
    if (!TakeLine(text, line)) return false;
  return true;
}

// Cuts the header of a section off. Its name follows the one before, which it becomes.
bool TakeHeader(std::string_view& text, std::string_view& name) {
  const std::string_view previous = name;
  std::string_view line;
  if (!TakeLine(text, line) || line.size() < 3 || line.front() != '[' ||
      line.find(']') != line.size() - 1)
    return false;
  name = line.substr(1, line.size() - 2);
  return IsBefore(previous, name);
}

// Whether the line reads as it stands, and its key follows the one before, which it becomes.
bool IsNextKey(std::string_view line, std::string_view& key) {
  const std::string_view previous = key;
  const std::size_t sign = line.find('=');
  if (sign == line.npos || sign == 0) return false;
  key = line.substr(0, sign);
  const std::string_view value = line.substr(sign + 1);
  const bool is_key = key.find(':') == key.npos && !key.ends_with(' ') && key.front() != ' ' &&
                      key.front() != '#' && key.front() != '[';
  const bool is_value = !value.starts_with(' ') && !value.ends_with(' ');
  return is_key && is_value && IsBefore(previous, key);
}

// Cuts the keys of a section off, and the empty line that ends them.
bool TakeKeys(std::string_view& text, std::string_view& lines) {
  const char* const start = text.data();
  std::string_view line;
  std::string_view key;
  while (TakeLine(text, line)) {
    if (line.empty()) {
      lines = std::string_view(start, static_cast<std::size_t>(line.data() - start));
      return !lines.empty();
    }
    if (!IsNextKey(line, key)) return false;
  }
  return false;
}

}  // namespace

bool ReadWrittenIni(std::string_view text, const WrittenSection& visit) {
  if (!HasOnlyLineEnds(text) || !SkipComments(text)) return false;
  if (text.find("%(") != text.npos || !IsUtf8(text)) return false;
  std::string_view name;
  std::string_view lines;
  while (!text.empty()) {
    if (!TakeHeader(text, name) || !TakeKeys(text, lines)) return false;
    visit(name, lines);
  }
  return true;
}

}  // namespace kelvarion::access
