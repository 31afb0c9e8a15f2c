#include "apache/server_values.h"

#include <algorithm>

#include "apache/values.h"
#include "errors/exception.h"
#include "platform/text/encoding.h"
#include "util/computer.h"
#include "util/paths.h"

namespace kelvarion::apache {
namespace {

// The value as UTF-8, once it is known not to break the file's format.
std::string Checked(const char16_t* setting, const std::u16string& value,
                    bool (*acceptable)(const std::u16string&)) {
  std::string utf8;
  if (!acceptable(value) || !platform::Utf16ToUtf8(value, utf8)) {
    throw SimpleException(
        u"The setting '%s' has the value '%s', which the web server's configuration cannot hold.",
        setting, value);
  }
  return utf8;
}

std::string CheckedPort(bool secure, int port) {
  if (port < 1 || port > 65535) {
    throw SimpleException(u"The setting '%s' has the value %d, which is not a TCP port.",
                          secure ? u"SSLServerPort" : u"ServerPort", port);
  }
  return std::to_string(port);
}

std::u16string ForwardSlashes(std::u16string path) {
  std::replace(path.begin(), path.end(), u'\\', u'/');
  return path;
}

std::string WithoutTrailingSlashes(std::string path) {
  path.erase(path.find_last_not_of('/') + 1);
  return path;
}

}  // namespace

std::string ServerValues::InRoot(std::string_view file) const {
  return WithoutTrailingSlashes(root) + "/" + std::string(file);
}

std::string ReadUrlPrefix(const IcRegistryAccessor& store) {
  return Checked(u"RepositoriesURLPrefix", store.GetRepositoriesURLPrefix(), IsServablePrefix);
}

ServerValues ReadServerValues(const IcRegistryAccessor& store, const std::u16string& install_dir) {
  ServerValues values;
  values.install =
      WithoutTrailingSlashes(Checked(u"InstallDir", ForwardSlashes(install_dir), IsQuotable));
  values.secure = store.GetUseSSL();
  const std::vector<std::u16string> bindings = store.GetServerBindings();
  values.prefix = ReadUrlPrefix(store);
  values.location = WithoutTrailingSlashes(values.prefix) + "/";
  values.root = Checked(u"RepositoriesRoot",
                        ForwardSlashes(store.GetRepositoriesRoot(std::nullopt)), IsQuotable);
  values.cache_kilobytes = std::uint64_t{store.GetHttpSvnCacheSize()} * 1024;
  values.redirect_from_legacy = store.GetRedirectFromLegacyWebInterface();
  values.operational_logging = store.GetEnableOperationalLogging();
  values.access_logging = store.GetEnableAccessLogging();
  values.listen_on_bindings_only = store.GetUseServerBindings();
  values.upn_format = store.GetUseUPNFormat();
  values.windows_integrated = store.GetEnableWindowsIntegrated();
  values.windows_basic = store.IsWindowsBasicEnabled();
  values.port = CheckedPort(values.secure, store.GetServerPort(values.secure));
  values.windows_auth = store.GetUseWindowsAuth();
  values.partners =
      Checked(u"OrmuReplicationPartnersSID", store.GetOrmuReplicationPartnersSID(), IsQuotable);
  values.host = Checked(u"the computer's name", util::GetComputerDnsName(), IsQuotable);
  if (values.listen_on_bindings_only) {
    for (const std::u16string& address : bindings)
      values.bindings.push_back(Checked(u"ServerBindings", address, IsListenAddress));
  }
  return values;
}

}  // namespace kelvarion::apache
