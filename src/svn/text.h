// Text and paths on their way into and out of the Subversion libraries.
//
// Nothing invalid crosses silently: text that cannot be converted throws Win32Exception with
// ERROR_NO_UNICODE_TRANSLATION, naming the text as far as it can be shown.
#pragma once

#include <string>
#include <string_view>

namespace kelvarion::svn {

// The result holds no NUL: text that does is refused, since a C function would see only its start.
std::string Utf8(std::u16string_view text);
std::u16string Utf16(std::string_view utf8);

// A local path in the libraries' internal style, canonical as they require; either separator is
// taken.
std::string DirentFromPath(std::u16string_view path);
// The local style of a path of the libraries.
std::u16string PathFromDirent(std::string_view dirent);

// The path of one entry of a folder. `name` must be a single component.
std::string JoinDirent(const std::string& folder, std::string_view name);

}  // namespace kelvarion::svn
