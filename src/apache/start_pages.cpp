#include "apache/configuration_generator.h"
#include "apache/sections.h"
#include "apache/server_values.h"
#include "util/atomic_file.h"
#include "util/paths.h"
#include "util/resources.h"

namespace kelvarion::apache {
namespace {

constexpr std::string_view kPrefixPlaceholder = "${kelvarion-repositories-url-prefix}";

// Left to right; what was put in is not searched again.
std::string FillTemplate(std::string_view page, std::string_view prefix) {
  std::string filled;
  for (;;) {
    const std::size_t found = page.find(kPrefixPlaceholder);
    filled += page.substr(0, found);
    if (found == page.npos) return filled;
    filled += prefix;
    page.remove_prefix(found + kPrefixPlaceholder.size());
  }
}

std::vector<GeneratedFile> StartPages(const IcRegistryAccessor& store) {
  const std::u16string install_dir = store.GetInstallDir();
  const std::string prefix = ReadUrlPrefix(store);
  const auto page = [&](const char16_t* path, const char16_t* resource) {
    return GeneratedFile{util::JoinPath(install_dir, path),
                         FillTemplate(util::LoadTextResource(resource), prefix)};
  };
  return {page(u"WebUI/index.html", u"WebUI.Index.Template"),
          page(u"htdocs/index.html", u"ServerRoot.Index.Template")};
}

}  // namespace

void RegenerateStartPages(const IcRegistryAccessor& store) {
  for (const GeneratedFile& page : StartPages(store))
    util::WriteFileAtomically(page.path, page.text, util::NewFile::kEverybodyReads);
}

std::vector<GeneratedFile> PreviewGeneratedFiles(const IcRegistryAccessor& store) {
  const std::u16string install_dir = store.GetInstallDir();
  const ServerValues values = ReadServerValues(store, install_dir);
  std::vector<GeneratedFile> files = StartPages(store);
  files.insert(files.begin(),
               {util::JoinPath(install_dir, u"conf/httpd.conf"), ConfigurationText(values)});
  GeneratedFile location{util::JoinPath(install_dir, u"conf/replication.conf"),
                         ReplicationText(values)};
  // Without a master it should be missing.
  if (!location.text.empty() ||
      util::GetFileAttributesOrMissing(location.path) != util::kMissingFile)
    files.push_back(std::move(location));
  return files;
}

}  // namespace kelvarion::apache
