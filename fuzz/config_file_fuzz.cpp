// Files in the syntax of Subversion's configuration files: our scanner and the quick way into files
// of our own making see what the libraries' reader sees.
#include <map>
#include <optional>

#include "access/ini_section.h"
#include "access/written_ini.h"
#include "errors/exception.h"
#include "fuzz/fuzz.h"
#include "svn/config_file.h"
#include "svn/config_scanner.h"
#include "svn/text.h"

using namespace kelvarion;
using namespace kelvarion::svn;

namespace {

using Document = std::map<std::string, std::map<std::string, std::string>>;

std::optional<Document> OfLibrary(const std::u16string& path, const Pool& pool) {
  Document document;
  try {
    const ConfigFile file(path, MustExist::kYes, pool);
    file.ForEachSection([&](std::string_view section) {
      const std::string name(section);
      file.ForEachOption(name.c_str(), [&](std::string_view key, std::string_view value) {
        document[name][std::string(key)] = value;
      });
    });
  } catch (const Exception&) {
    return std::nullopt;
  }
  return document;
}

std::optional<Document> OfScanner(std::string_view text) {
  Document document;
  std::string section;
  ConfigScanner scanner(text);
  for (;;) {
    const ConfigToken token = scanner.Next();
    if (token.kind == ConfigToken::Kind::kEnd) return document;
    if (token.kind == ConfigToken::Kind::kError) return std::nullopt;
    if (token.kind == ConfigToken::Kind::kSection)
      section = token.name;
    else
      document[section][std::string(token.name)] = token.value;
  }
}

std::optional<Document> OfQuickWay(std::string_view text) {
  Document document;
  const bool read =
      access::ReadWrittenIni(text, [&](std::string_view name, std::string_view lines) {
        for (const auto& [key, value] : access::IniSection::OfLines(lines))
          document[std::string(name)][svn::Utf8(key)] = svn::Utf8(value);
      });
  return read ? std::optional(document) : std::nullopt;
}

}  // namespace

void kelvarion::fuzz::Target(std::string_view text) {
  static const Pool& root = *new Pool(Pool::Root());
  const auto library = OfLibrary(fuzz::FileHolding(text), Pool(root));
  // The scanner leaves references to other values as they are.
  if (text.find("%(") == text.npos)
    fuzz::Expect(OfScanner(text) == library, "the scanner sees what the libraries see");
  if (const auto written = OfQuickWay(text))
    fuzz::Expect(written == library, "the quick way leads to the same");
}
