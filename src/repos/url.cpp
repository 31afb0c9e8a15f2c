#include "repos/url.h"

#include "platform/text/format.h"
#include "svn/text.h"
#include "util/computer.h"

namespace kelvarion::repos {
namespace {

// What may stand in the path of a URL as it is, the separator included.
bool IsPathCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
         std::string_view("/-._~!$&'()*+,:=@").find(c) != std::string_view::npos;
}

std::u16string PercentEncoded(const std::u16string& path) {
  static constexpr char16_t kDigits[] = u"0123456789ABCDEF";
  std::u16string encoded;
  for (const char c : svn::Utf8(path)) {
    const auto byte = static_cast<unsigned char>(c);
    if (IsPathCharacter(c))
      encoded += static_cast<char16_t>(byte);
    else
      (encoded += u'%') += {kDigits[byte >> 4], kDigits[byte & 15]};
  }
  return encoded;
}

}  // namespace

std::u16string PublicHostName(const IcRegistryAccessor& store) {
  const std::u16string name = store.GetServerName();
  return name.empty() ? util::GetComputerDnsName() : name;
}

UrlSettings ReadUrlSettings(const IcRegistryAccessor& store) {
  UrlSettings settings;
  settings.host = PublicHostName(store);
  settings.secure = store.GetUseSSL();
  settings.port = store.GetServerPort(settings.secure);
  settings.prefix = store.GetRepositoriesURLPrefix();
  return settings;
}

std::u16string BuildRepositoryUrl(const std::u16string& repository, const std::u16string& path,
                                  const UrlSettings& settings) {
  std::u16string url = (settings.secure ? u"https://" : u"http://") + settings.host;
  if (settings.port != (settings.secure ? 443 : 80)) url += Format(u":%d", settings.port);
  url += settings.prefix + u"/";
  if (repository.empty()) return url;
  return url + PercentEncoded(repository + path);
}

}  // namespace kelvarion::repos
