#include "access/written_ini.h"

#include "platform/text/encoding.h"

namespace kelvarion::access {
namespace {

// From this first byte on, UTF-8 and UTF-16 need not sort alike: beyond it are what surrogates
// stand for and what sorts behind surrogates.
constexpr unsigned char kFirstOutOfOrder = 0xEE;

// Cuts the next line off, without its end. False when it ends otherwise or has a control character:
// then blanks are nothing but spaces.
bool TakeLine(std::string_view& text, std::string_view& line) {
  const std::size_t end = text.find('\n');
  if (end == text.npos || end == 0 || text[end - 1] != '\r') return false;
  line = text.substr(0, end - 1);
  text.remove_prefix(end + 1);
  for (const char c : line)
    if (static_cast<unsigned char>(c) < ' ') return false;
  return true;
}

bool IsInOrder(std::string_view previous, std::string_view key) {
  for (const char c : key)
    if (static_cast<unsigned char>(c) >= kFirstOutOfOrder) return false;
  return previous < key;
}

bool IsHeader(std::string_view line) {
  return line.size() > 2 && line.front() == '[' && line.find(']') == line.size() - 1;
}

// Whether the line reads as it stands, and its key follows the one before, which it becomes.
bool IsNextKey(std::string_view line, std::string_view& key) {
  const std::string_view previous = key;
  const std::size_t sign = line.find('=');
  if (sign == line.npos || sign == 0 || line.find('%') != line.npos) return false;
  key = line.substr(0, sign);
  const std::string_view value = line.substr(sign + 1);
  const bool is_key = key.find(':') == key.npos && !key.ends_with(' ') && key.front() != ' ' &&
                      key.front() != '#' && key.front() != '[';
  const bool is_value = !value.starts_with(' ') && !value.ends_with(' ');
  return is_key && is_value && IsInOrder(previous, key);
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

bool SkipComments(std::string_view& text) {
  std::string_view line;
  while (text.starts_with('#') || text.starts_with('\r'))
    if (!TakeLine(text, line)) return false;
  return true;
}

}  // namespace

std::optional<IniDocument> ParseWrittenIni(std::string_view text) {
  if (!SkipComments(text)) return std::nullopt;
  IniDocument document;
  std::string_view header;
  std::string_view lines;
  std::u16string name;
  std::u16string valid;
  while (!text.empty()) {
    if (!TakeLine(text, header) || !IsHeader(header) || !TakeKeys(text, lines)) return std::nullopt;
    if (!platform::Utf8ToUtf16(header.substr(1, header.size() - 2), name) ||
        !platform::Utf8ToUtf16(lines, valid) ||
        !document.try_emplace(name, IniSection::OfLines(lines)).second)
      return std::nullopt;
  }
  return document;
}

}  // namespace kelvarion::access
