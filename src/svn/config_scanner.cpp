#include "svn/config_scanner.h"

#include <algorithm>

namespace kelvarion::svn {
namespace {

using Kind = ConfigToken::Kind;

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

bool IsBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

std::string_view Trimmed(std::string_view text) {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  return text;
}

}  // namespace

ConfigScanner::ConfigScanner(std::string_view text) : text_(text) {
  if (text_.starts_with(kByteOrderMark)) text_.remove_prefix(kByteOrderMark.size());
}

// Stops at a line end. Carriage returns before everything else do not count as blanks.
std::size_t ConfigScanner::SkipBlanks() {
  while (position_ < text_.size() && text_[position_] == '\r') ++position_;
  const std::size_t start = position_;
  while (position_ < text_.size() && text_[position_] != '\n' && IsBlank(text_[position_]))
    ++position_;
  return position_ - start;
}

std::string_view ConfigScanner::RestOfLine() {
  const std::size_t end = std::min(text_.find('\n', position_), text_.size());
  const std::string_view rest = text_.substr(position_, end - position_);
  position_ = std::min(end + 1, text_.size());
  ++line_;
  return rest;
}

ConfigToken ConfigScanner::Error(std::string_view what) {
  position_ = text_.size();
  return {Kind::kError, {}, what, line_};
}

ConfigToken ConfigScanner::Next() {
  if (position_ == 0) {
    // Where the libraries' reader would stop in the middle of a line.
    const std::size_t nul = text_.find('\0');
    line_ +=
        nul == text_.npos ? 0 : static_cast<int>(std::ranges::count(text_.substr(0, nul), '\n'));
    if (nul != text_.npos) return Error("the file contains a NUL");
  }
  for (;;) {
    const bool indented = SkipBlanks() != 0;
    if (position_ == text_.size()) return {Kind::kEnd, {}, {}, line_};
    switch (text_[position_]) {
      case '\n':
        RestOfLine();
        continue;
      case '[':
        return indented ? Error("a section must begin in the first column") : Section();
      case '#':
        if (indented) return Error("a comment must begin in the first column");
        RestOfLine();
        continue;
      default:
        if (!in_section_) return Error("a section such as [/] must come first");
        return indented ? Error("an option must begin in the first column") : Option();
    }
  }
}

ConfigToken ConfigScanner::Section() {
  const int line = line_;
  std::string_view header = RestOfLine().substr(1);
  // The libraries pass over these at the beginning of a name, and there alone.
  header.remove_prefix(std::min(header.find_first_not_of('\r'), header.size()));
  const std::size_t end = header.find(']');
  if (end == header.npos) {
    line_ = line;
    return Error("the name of a section must end with ']'");
  }
  in_section_ = end != 0;
  return {Kind::kSection, header.substr(0, end), {}, line};
}

ConfigToken ConfigScanner::Option() {
  const int line = line_;
  const std::string_view text = RestOfLine();
  // A colon separates as well, unless an equals sign comes before it.
  const auto at = std::ranges::find_if(text, [](char c) { return c == '=' || c == ':'; });
  const auto separator = static_cast<std::size_t>(at - text.begin());
  if (separator == text.size() || separator == 0) {
    line_ = line;
    return Error(separator == 0 ? "there is no name before '='"
                                : "there is no '=' between name and value");
  }
  const std::string_view name = text.substr(0, separator);
  return {Kind::kOption, Trimmed(name), Continue(Trimmed(text.substr(separator + 1))), line};
}

// Every line that begins with a blank goes on with the value.
std::string_view ConfigScanner::Continue(std::string_view value) {
  bool more = false;
  while (position_ < text_.size()) {
    const bool indented = SkipBlanks() != 0;
    if (position_ == text_.size()) break;
    if (text_[position_] == '\n') {
      RestOfLine();
      break;
    }
    if (!indented) break;
    if (!more) joined_ = value;
    more = true;
    joined_ += ' ';
    joined_ += Trimmed(RestOfLine());
  }
  return more ? std::string_view(joined_) : value;
}

}  // namespace kelvarion::svn
