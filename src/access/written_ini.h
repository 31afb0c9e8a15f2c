// The quick way into INI-style text that has the very form in which the system writes it.
#pragma once

#include <optional>
#include <string_view>

#include "access/ini_document.h"

namespace kelvarion::access {

// What ReadIniFile finds in this text, its sections still lines. Nothing for text that is written
// in any other way than WriteIniFile's, or that only Subversion's reader can judge: comments after
// the first section, keys out of order, references to other values, anything malformed.
std::optional<IniDocument> ParseWrittenIni(std::string_view text);

}  // namespace kelvarion::access
