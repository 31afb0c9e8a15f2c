#include "platform/text/encoding.h"

#include <unicode/ucnv.h>
#include <unicode/ustring.h>

#include <cstdlib>
#include <memory>
#include <type_traits>

namespace kelvarion::platform {
namespace {

constexpr UChar32 kReplacement = 0xFFFD;
// No substitute: what cannot be converted is an error.
constexpr UChar32 kStrict = U_SENTINEL;

// Nearly all texts are, and thousands of them come at a time. Looks at every character rather than
// stop at the first, since processors do that for many characters in one step.
template <class Text>
bool IsAscii(const Text& text) {
  unsigned all = 0;
  for (const auto c : text) all |= static_cast<std::make_unsigned_t<decltype(c)>>(c);
  return all < 0x80;
}

bool Decode(std::string_view utf8, UChar32 substitute, std::u16string& out) {
  if (IsAscii(utf8)) {
    out = std::u16string(utf8.begin(), utf8.end());
    return true;
  }
  // A UTF-16 text never has more units than the UTF-8 text has bytes.
  std::u16string text(utf8.size(), u'\0');
  std::int32_t length = 0;
  UErrorCode status = U_ZERO_ERROR;
  u_strFromUTF8WithSub(text.data(), static_cast<std::int32_t>(text.size()), &length, utf8.data(),
                       static_cast<std::int32_t>(utf8.size()), substitute, nullptr, &status);
  if (U_FAILURE(status)) return false;
  text.resize(static_cast<std::size_t>(length));
  out = std::move(text);
  return true;
}

bool Encode(std::u16string_view utf16, UChar32 substitute, std::string& out) {
  if (IsAscii(utf16)) {
    out = std::string(utf16.begin(), utf16.end());
    return true;
  }
  std::string text(utf16.size() * 3, '\0');
  std::int32_t length = 0;
  UErrorCode status = U_ZERO_ERROR;
  u_strToUTF8WithSub(text.data(), static_cast<std::int32_t>(text.size()), &length, utf16.data(),
                     static_cast<std::int32_t>(utf16.size()), substitute, nullptr, &status);
  if (U_FAILURE(status)) return false;
  text.resize(static_cast<std::size_t>(length));
  out = std::move(text);
  return true;
}

// The charset that the environment names for LC_CTYPE, as in de_DE.ISO-8859-1@euro. The variables
// are read rather than the C library's locale, since a library cannot know whether its host chose
// one, and the named locale may not be installed.
std::string CharsetOfLocale() {
  for (const char* variable : {"LC_ALL", "LC_CTYPE", "LANG"}) {
    const char* const value = std::getenv(variable);
    if (!value || !*value) continue;
    const std::string locale = value;
    const std::size_t dot = locale.find('.');
    if (dot == std::string::npos) return "";
    return locale.substr(dot + 1, locale.find('@') - dot - 1);
  }
  return "";
}

struct CloseConverter {
  void operator()(UConverter* converter) const { ucnv_close(converter); }
};
using Converter = std::unique_ptr<UConverter, CloseConverter>;

// Null for UTF-8, which has its own conversions, and for a charset that nobody knows.
Converter OpenThreadCodePage() {
  const std::string charset = CharsetOfLocale();
  if (charset.empty()) return nullptr;
  UErrorCode status = U_ZERO_ERROR;
  Converter converter(ucnv_open(charset.c_str(), &status));
  if (U_FAILURE(status) || ucnv_getType(converter.get()) == UCNV_UTF8) return nullptr;
  return converter;
}

}  // namespace

bool Utf8ToUtf16(std::string_view utf8, std::u16string& out) { return Decode(utf8, kStrict, out); }

bool Utf16ToUtf8(std::u16string_view utf16, std::string& out) {
  return Encode(utf16, kStrict, out);
}

std::u16string Utf16ForDisplay(std::string_view utf8) {
  std::u16string text;
  Decode(utf8, kReplacement, text);
  return text;
}

std::string Utf8ForDisplay(std::u16string_view utf16) {
  std::string text;
  Encode(utf16, kReplacement, text);
  return text;
}

std::u16string FromThreadCodePage(std::string_view bytes) {
  const Converter converter = OpenThreadCodePage();
  if (!converter) return Utf16ForDisplay(bytes);
  // A byte of a charset yields at most two units; substitution is the converter's default.
  std::u16string text(bytes.size() * 2, u'\0');
  UErrorCode status = U_ZERO_ERROR;
  const std::int32_t length =
      ucnv_toUChars(converter.get(), text.data(), static_cast<std::int32_t>(text.size()),
                    bytes.data(), static_cast<std::int32_t>(bytes.size()), &status);
  text.resize(U_SUCCESS(status) ? static_cast<std::size_t>(length) : 0);
  return text;
}

bool ToThreadCodePage(std::u16string_view text, std::string& out) {
  const Converter converter = OpenThreadCodePage();
  if (!converter) return Utf16ToUtf8(text, out);
  UErrorCode status = U_ZERO_ERROR;
  ucnv_setFromUCallBack(converter.get(), UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                        &status);
  std::string bytes(
      static_cast<std::size_t>(UCNV_GET_MAX_BYTES_FOR_STRING(static_cast<std::int32_t>(text.size()),
                                                             ucnv_getMaxCharSize(converter.get()))),
      '\0');
  const std::int32_t length =
      ucnv_fromUChars(converter.get(), bytes.data(), static_cast<std::int32_t>(bytes.size()),
                      text.data(), static_cast<std::int32_t>(text.size()), &status);
  if (U_FAILURE(status)) return false;
  bytes.resize(static_cast<std::size_t>(length));
  out = std::move(bytes);
  return true;
}

}  // namespace kelvarion::platform
