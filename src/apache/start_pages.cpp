#include "apache/configuration_generator.h"
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

}  // namespace

void RegenerateStartPages(const IcRegistryAccessor& store) {
  const std::u16string install_dir = store.GetInstallDir();
  const std::string prefix = ReadUrlPrefix(store);
  const std::string web_page = util::LoadTextResource(u"WebUI.Index.Template");
  const std::string root_page = util::LoadTextResource(u"ServerRoot.Index.Template");
  util::WriteFileAtomically(util::JoinPath(install_dir, u"WebUI/index.html"),
                            FillTemplate(web_page, prefix));
  util::WriteFileAtomically(util::JoinPath(install_dir, u"htdocs/index.html"),
                            FillTemplate(root_page, prefix));
}

}  // namespace kelvarion::apache
