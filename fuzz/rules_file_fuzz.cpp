// Rules files: changing one path's rules writes the file anew, and everybody else's must then be
// read as before.
#include "access/authz_parser.h"
#include "errors/exception.h"
#include "fuzz/fuzz.h"

using namespace kelvarion;
using namespace kelvarion::access;

namespace {

// Values in which Subversion replaces a name by another value.
bool HasReferences(const IniDocument& document) {
  for (const auto& [name, section] : document)
    for (const auto& [key, value] : section)
      if (value.find(u"%(") != value.npos) return true;
  return false;
}

void CheckRules(AuthzSubversionFileParser& rules) {
  const IniDocument before = rules.document();
  for (const auto& [path, entries] : rules.AllPaths()) {
    rules.SetEntries(path, entries);
    fuzz::Expect(rules.Entries(path) == entries, "rules survive being set");
    rules.RemoveChildren(path);
    fuzz::Expect(rules.document().contains(path), "removing what is below keeps the path");
  }
  for (const auto& [name, section] : before)
    fuzz::Expect(name.starts_with(u'/') || rules.document()[name] == section, "only paths change");
}

}  // namespace

void kelvarion::fuzz::Target(std::string_view bytes) {
  static const svn::Pool& root = *new svn::Pool(svn::Pool::Root());
  const svn::Pool pool(root);
  const std::u16string& path = fuzz::FileHolding(bytes);
  AuthzSubversionFileParser rules;
  try {
    ReadIniFile(path, rules.document(), pool);
  } catch (const Exception&) {
    return;
  }
  if (!HasReferences(rules.document())) {
    IniDocument again;
    WriteIniFile(path, rules.document(), "# A header.\r\n", pool);
    ReadIniFile(path, again, pool);
    std::erase_if(rules.document(), [](const auto& section) { return section.second.empty(); });
    fuzz::Expect(again == rules.document(), "a file reads the same after it was written anew");
  }
  CheckRules(rules);
}
