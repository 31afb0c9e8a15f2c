#include "svn/config_file.h"

#include <svn_config.h>
#include <svn_dirent_uri.h>
#include <svn_io.h>
#include <svn_string.h>

#include "platform/text/encoding.h"
#include "svn/atomic_file.h"
#include "svn/config_text.h"
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

void RefuseMisleadingText(const std::u16string& path, std::string_view text) {
  if (const auto line = FindMisleadingLine(text))
    ThrowError(SVN_ERR_MALFORMED_FILE,
               Format(u"Error while parsing config file: %s: line %ld: %s", path, line->number,
                      platform::Utf16ForDisplay(line->problem)));
}

// As svn_config_read3 does with the file of the text.
svn_error_t* Parse(svn_config_t** config, const std::string& text, const std::string& dirent,
                   const Pool& pool) {
  const svn_string_t bytes{text.data(), text.size()};
  svn_error_t* const error =
      svn_config_parse(config, svn_stream_from_string(&bytes, pool), TRUE, TRUE, pool);
  return error ? svn_error_createf(error->apr_err, error, "Error while parsing config file: %s:",
                                   svn_dirent_local_style(dirent.c_str(), pool))
               : nullptr;
}

svn_boolean_t OnSection(const char* name, void* baton, apr_pool_t*) {
  return static_cast<Baton<ConfigFile::Section>*>(baton)->Run(name);
}

svn_boolean_t OnOption(const char* name, const char* value, void* baton, apr_pool_t*) {
  return static_cast<Baton<ConfigFile::Option>*>(baton)->Run(name, value);
}

}  // namespace

ConfigFile::ConfigFile(const std::u16string& path, MustExist must_exist, const Pool& parent)
    : pool_(parent) {
  const std::string dirent = DirentFromPath(path);
  if (const auto text = ReadFileIfPresent(path, pool_)) {
    RefuseMisleadingText(path, *text);
    Check(Parse(&config_, *text, dirent, pool_));
  } else {
    Check(svn_config_read3(&config_, dirent.c_str(), must_exist == MustExist::kYes, TRUE, TRUE,
                           pool_));
  }
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
