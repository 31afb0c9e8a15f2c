// INI-style text: sections of keys with values.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "access/ini_section.h"
#include "svn/pool.h"

namespace kelvarion::access {

// Keys and sections are case-sensitive and come in the order of their code units.
using IniDocument = std::map<std::u16string, IniSection>;

// Puts the file's sections into the document, in the syntax of Subversion's configuration files. A
// missing file is an empty one. Throws SvnException for text that cannot be parsed.
void ReadIniFile(const std::u16string& path, IniDocument& document, const svn::Pool& parent);

// One section of the file; empty when there is none. Otherwise as ReadIniFile, in less time.
IniSection ReadIniSection(const std::u16string& path, const std::u16string& section,
                          const svn::Pool& parent);

// Replaces the file as a whole by the header and the sections that have keys, as UTF-8 with CR LF
// line ends. The folder must exist. Throws SvnException; the file is then as it was.
void WriteIniFile(const std::u16string& path, const IniDocument& document,
                  std::optional<std::string_view> header, const svn::Pool& parent);

}  // namespace kelvarion::access
