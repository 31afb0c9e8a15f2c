#include "svn/text.h"

#include <svn_dirent_uri.h>

#include <algorithm>

#include "errors/exception.h"
#include "platform/text/encoding.h"
#include "svn/pool.h"

namespace kelvarion::svn {
namespace {

// Canonicalizing allocates little; a pool of one's own frees it at once.
class ScratchPool {
 public:
  ScratchPool() : pool_(Parent()) {}
  operator apr_pool_t*() const { return pool_; }  // NOLINT: for functions of C

 private:
  static const Pool& Parent() {
    static const Pool& root = *new Pool(Pool::Root());
    return root;
  }
  Pool pool_;
};

}  // namespace

std::string Utf8(std::u16string_view text) {
  std::string result;
  if (!platform::Utf16ToUtf8(text, result)) {
    throw Win32Exception(ERROR_NO_UNICODE_TRANSLATION, u"'%s' is not valid Unicode text",
                         platform::Utf16ForDisplay(platform::Utf8ForDisplay(text)));
  }
  if (result.find('\0') != std::string::npos) {
    throw Win32Exception(ERROR_NO_UNICODE_TRANSLATION, u"'%s' is followed by a NUL character",
                         text.substr(0, text.find(u'\0')));
  }
  return result;
}

std::u16string Utf16(std::string_view utf8) {
  std::u16string result;
  if (!platform::Utf8ToUtf16(utf8, result)) {
    throw Win32Exception(ERROR_NO_UNICODE_TRANSLATION, u"'%s' is not valid UTF-8 text",
                         platform::Utf16ForDisplay(utf8));
  }
  return result;
}

std::string DirentFromPath(std::u16string_view path) {
  std::string native = Utf8(path);
  std::replace(native.begin(), native.end(), '\\', '/');
  const ScratchPool scratch;
  return svn_dirent_internal_style(native.c_str(), scratch);
}

std::u16string PathFromDirent(std::string_view dirent) {
  const ScratchPool scratch;
  return Utf16(svn_dirent_local_style(std::string(dirent).c_str(), scratch));
}

std::string JoinDirent(const std::string& folder, std::string_view name) {
  std::string joined = folder;
  if (!joined.empty() && joined.back() != '/') joined += '/';
  joined += name;
  return joined;
}

}  // namespace kelvarion::svn
