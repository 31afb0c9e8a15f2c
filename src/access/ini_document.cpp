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

std::optional<IniDocument> ReadWrittenIni(const std::u16string& path, const svn::Pool& parent) {
  const std::optional<std::string> text = svn::ReadFileIfPresent(path, parent);
  return ParseWrittenIni(text.value_or(""));
}

}  // namespace

void ReadIniFile(const std::u16string& path, IniDocument& document, const svn::Pool& parent) {
  if (std::optional<IniDocument> written = ReadWrittenIni(path, parent)) {
    written->merge(document);
    document = *std::move(written);
    return;
  }
  const svn::ConfigFile file(path, svn::MustExist::kNo, parent);
  file.ForEachSection([&](std::string_view name) {
    document[svn::Utf16(name)] = Section(file, std::string(name));
  });
}

IniSection ReadIniSection(const std::u16string& path, const std::u16string& section,
                          const svn::Pool& parent) {
  const std::string name = svn::Utf8(section);
  if (std::optional<IniDocument> written = ReadWrittenIni(path, parent)) return (*written)[section];
  return Section(svn::ConfigFile(path, svn::MustExist::kNo, parent), name);
}

void WriteIniFile(const std::u16string& path, const IniDocument& document,
                  std::optional<std::string_view> header, const svn::Pool& parent) {
  std::string text(header.value_or(""));
  for (const auto& [name, section] : document) {
    if (section.empty()) continue;
    text += "[" + svn::Utf8(name) + "]\r\n";
    section.AppendLines(text);
    text += "\r\n";
  }
  svn::ReplaceFile(path, text, platform::NewFile::kAsFolderSays, parent);
}

}  // namespace kelvarion::access
