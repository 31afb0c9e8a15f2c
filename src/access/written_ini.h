// The quick way into INI-style text that has the very form in which the system writes it.
#pragma once

#include <functional>
#include <string_view>

namespace kelvarion::access {

// Tells of each section that ReadIniFile finds in this text, in its order: the name, and the lines
// of its keys as IniSection takes them. False for text that is written in any other way than
// WriteIniFile's, or that only Subversion's reader can judge: comments after the first section,
// sections or keys out of order, references to other values, anything malformed. What was told is
// then worth nothing. The views are parts of the text.
using WrittenSection = std::function<void(std::string_view name, std::string_view lines)>;
bool ReadWrittenIni(std::string_view text, const WrittenSection& visit);

}  // namespace kelvarion::access
