#include "apache/values.h"

#include <algorithm>

#include "platform/text/encoding.h"

namespace kelvarion::apache {
namespace {

bool IsAsciiLetterOrDigit(char16_t c) {
  return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9');
}

bool IsControl(char16_t c) { return c < 0x20 || (c >= 0x7F && c < 0xA0); }

bool IsValidUtf16(const std::u16string& text) {
  std::string ignored;
  return platform::Utf16ToUtf8(text, ignored);
}

bool ConsistsOf(const std::u16string& text, bool (*allowed)(char16_t)) {
  return std::all_of(text.begin(), text.end(), allowed);
}

}  // namespace

bool IsQuotable(const std::u16string& text) {
  if (std::any_of(text.begin(), text.end(), IsControl)) return false;
  if (text.find(u'"') != text.npos || text.find(u"${") != text.npos) return false;
  return !text.ends_with(u'\\') && IsValidUtf16(text);
}

bool IsListenAddress(const std::u16string& text) {
  return !text.empty() && ConsistsOf(text, [](char16_t c) {
    return IsAsciiLetterOrDigit(c) ||
           std::u16string_view(u".:-_[]%*").find(c) != std::u16string::npos;
  });
}

bool IsUrlPrefix(const std::u16string& text) {
  if (text.empty()) return true;
  return text.size() > 1 && text[0] == u'/' && ConsistsOf(text.substr(1), [](char16_t c) {
           return IsAsciiLetterOrDigit(c) || c == u'-' || c == u'_';
         });
}

bool IsServablePrefix(const std::u16string& text) {
  if (text.empty()) return true;
  return text[0] == u'/' && IsQuotable(text) &&
         text.find_first_of(u" '\\$%?#<>&;\u00A0") == text.npos;
}

}  // namespace kelvarion::apache
