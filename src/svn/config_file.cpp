#include "svn/config_file.h"

#include <svn_config.h>

#include "svn/error.h"
#include "svn/text.h"

namespace kelvarion::svn {
namespace {

template <class Visit>
struct Baton {
  const Visit& visit;
  Callback callback;

  template <class... Args>
  svn_boolean_t Run(const Args&... args) {
    svn_error_t* const stop = callback.Run([&] { visit(std::string_view(args)...); });
    Ignore(stop);  // CheckAfter rethrows what it stands for.
    return stop == nullptr;
  }
};

svn_boolean_t OnSection(const char* name, void* baton, apr_pool_t*) {
  return static_cast<Baton<ConfigFile::Section>*>(baton)->Run(name);
}

svn_boolean_t OnOption(const char* name, const char* value, void* baton, apr_pool_t*) {
  return static_cast<Baton<ConfigFile::Option>*>(baton)->Run(name, value);
}

}  // namespace

ConfigFile::ConfigFile(const std::u16string& path, MustExist must_exist, const Pool& parent)
    : pool_(parent) {
  Check(svn_config_read3(&config_, DirentFromPath(path).c_str(), must_exist == MustExist::kYes,
                         TRUE, TRUE, pool_));
}

void ConfigFile::ForEachSection(const Section& visit) const {
  const Pool scratch(pool_);
  Baton<Section> baton{visit, {}};
  svn_config_enumerate_sections2(config_, OnSection, &baton, scratch);
  baton.callback.CheckAfter(nullptr);
}

void ConfigFile::ForEachOption(const char* section, const Option& visit) const {
  const Pool scratch(pool_);
  Baton<Option> baton{visit, {}};
  svn_config_enumerate2(config_, section, OnOption, &baton, scratch);
  baton.callback.CheckAfter(nullptr);
}

}  // namespace kelvarion::svn
