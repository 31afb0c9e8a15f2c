#include "access/ini_document.h"

#include "svn/atomic_file.h"
#include "svn/config_file.h"
#include "svn/text.h"

namespace kelvarion::access {

void ReadIniFile(const std::u16string& path, IniDocument& document, const svn::Pool& parent) {
  const svn::ConfigFile file(path, svn::MustExist::kNo, parent);
  file.ForEachSection([&](std::string_view name) {
    IniSection& section = document[svn::Utf16(name)];
    file.ForEachOption(name.data(), [&](std::string_view key, std::string_view value) {
      section.insert_or_assign(svn::Utf16(key), svn::Utf16(value));
    });
  });
}

void WriteIniFile(const std::u16string& path, const IniDocument& document,
                  std::optional<std::string_view> header, const svn::Pool& parent) {
  std::string text(header.value_or(""));
  for (const auto& [name, section] : document) {
    if (section.empty()) continue;
    text += "[" + svn::Utf8(name) + "]\r\n";
    for (const auto& [key, value] : section) {
      text += svn::Utf8(key);
      text += '=';
      text += svn::Utf8(value);
      text += "\r\n";
    }
    text += "\r\n";
  }
  svn::ReplaceFile(path, text, platform::NewFile::kAsFolderSays, parent);
}

}  // namespace kelvarion::access
