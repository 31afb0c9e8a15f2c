#include "access/ini_document.h"

#include "access/written_ini.h"
#include "svn/atomic_file.h"
#include "svn/config_file.h"
#include "svn/text.h"

namespace kelvarion::access {
namespace {

IniSection Section(const svn::ConfigFile& file, const std::string& name) {
  IniSection section;
  file.ForEachOption(name.c_str(), [&](std::string_view key, std::string_view value) {
    section[svn::Utf16(key)] = svn::Utf16(value);
  });
  return section;
}

std::string ReadText(const std::u16string& path, const svn::Pool& parent) {
  return svn::ReadFileIfPresent(path, parent).value_or("");
}

}  // namespace

void ReadIniFile(const std::u16string& path, IniDocument& document, const svn::Pool& parent) {
  IniDocument read;
  const auto add = [&](std::string_view name, std::string_view lines) {
    read.emplace_hint(read.end(), svn::Utf16(name), IniSection::OfLines(lines));
  };
  if (!ReadWrittenIni(ReadText(path, parent), add)) {
    read.clear();
    const svn::ConfigFile file(path, svn::MustExist::kNo, parent);
    file.ForEachSection(
        [&](std::string_view name) { read[svn::Utf16(name)] = Section(file, std::string(name)); });
  }
  read.merge(document);
  document = std::move(read);
}

IniSection ReadIniSection(const std::u16string& path, const std::u16string& section,
                          const svn::Pool& parent) {
  const std::string wanted = svn::Utf8(section);
  IniSection found;
  const auto pick = [&](std::string_view name, std::string_view lines) {
    if (name == wanted) found = IniSection::OfLines(lines);
  };
  if (ReadWrittenIni(ReadText(path, parent), pick)) return found;
  return Section(svn::ConfigFile(path, svn::MustExist::kNo, parent), wanted);
}

void WriteIniFile(const std::u16string& path, const IniDocument& document,
                  std::optional<std::string_view> header, const svn::Pool& parent) {
  std::string text(header.value_or(""));
  for (const auto& [name, section] : document) {
    if (section.empty()) continue;
    text += '[';
    text += svn::Utf8(name);
    text += "]\r\n";
    section.AppendLines(text);
    text += "\r\n";
  }
  svn::ReplaceFile(path, text, platform::NewFile::kAsFolderSays, parent);
}

}  // namespace kelvarion::access
