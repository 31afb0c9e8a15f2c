// Conversions between the system's UTF-16 text and the encodings of files and libraries.
#pragma once

#include <string>
#include <string_view>

namespace kelvarion::platform {

// False, and `out` untouched, when the input is not valid in its encoding.
bool Utf8ToUtf16(std::string_view utf8, std::u16string& out);
bool Utf16ToUtf8(std::u16string_view utf16, std::string& out);

// For messages and logs, where a damaged character must not lose the rest: it becomes U+FFFD.
std::u16string Utf16ForDisplay(std::string_view utf8);
std::string Utf8ForDisplay(std::u16string_view utf16);

// The thread's code page: the charset of LC_CTYPE, UTF-8 unless the locale names another.
// Bytes that cannot be decoded read as U+FFFD.
std::u16string FromThreadCodePage(std::string_view bytes);
// False, and `out` untouched, when the code page cannot express a character.
bool ToThreadCodePage(std::u16string_view text, std::string& out);

}  // namespace kelvarion::platform
