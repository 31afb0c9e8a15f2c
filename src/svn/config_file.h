// Files in the syntax of Subversion's configuration reader.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "svn/pool.h"

struct svn_config_t;

namespace kelvarion::svn {

enum class MustExist { kNo, kYes };

// A file as it was when it was read. Names of sections and options are case-sensitive. Sections
// without options are unknown to it; of options given twice the later one counts; the order of
// both is the reader's own. A syntax error throws SvnException naming file and line.
class ConfigFile {
 public:
  ConfigFile(const std::u16string& path, MustExist must_exist, const Pool& parent);

  // The views live no longer than the call.
  using Section = std::function<void(std::string_view name)>;
  using Option = std::function<void(std::string_view name, std::string_view value)>;
  void ForEachSection(const Section& visit) const;
  void ForEachOption(const char* section, const Option& visit) const;

 private:
  Pool pool_;
  svn_config_t* config_ = nullptr;
};

}  // namespace kelvarion::svn
