#include "access/ini_section.h"

#include "svn/text.h"

namespace kelvarion::access {
namespace {

constexpr std::string_view kLineEnd = "\r\n";

}  // namespace

IniSection IniSection::OfLines(std::string_view lines) {
  IniSection section;
  section.lines_ = lines;
  return section;
}

IniSection::Keys& IniSection::keys() const {
  for (std::string_view rest = lines_; !rest.empty();) {
    const std::size_t sign = rest.find('=');
    const std::size_t end = rest.find(kLineEnd, sign);
    keys_.emplace_hint(keys_.end(), svn::Utf16(rest.substr(0, sign)),
                       svn::Utf16(rest.substr(sign + 1, end - sign - 1)));
    rest.remove_prefix(end + kLineEnd.size());
  }
  lines_.clear();
  return keys_;
}

void IniSection::AppendLines(std::string& text) const {
  text += lines_;
  for (const auto& [key, value] : keys_) {
    text += svn::Utf8(key);
    text += '=';
    text += svn::Utf8(value);
    text += kLineEnd;
  }
}

}  // namespace kelvarion::access
