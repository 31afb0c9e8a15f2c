#include "host/settings_table.h"

#include <charconv>
#include <iterator>

#include "apache/values.h"
#include "errors/exception.h"
#include "host/text.h"
#include "platform/network/network.h"
#include "platform/text/compare.h"
#include "settings/server_settings.h"
#include "util/paths.h"

namespace kelvarion::host {

const Setting kSettings[] = {
    {u"ServerName", SettingKind::kHostName, u"",
     "Host name that clients use in addresses; empty means the machine's own name."},
    {u"ServerPort", SettingKind::kPort, nullptr, "TCP port while the server speaks HTTP."},
    {u"SSLServerPort", SettingKind::kPort, nullptr, "TCP port while the server speaks HTTPS."},
    {u"UseSSL", SettingKind::kFlag, u"0", "Serve HTTPS instead of HTTP."},
    {u"UseWindowsAuth", SettingKind::kFlag, u"0",
     "Log in with system accounts instead of Subversion users."},
    {u"RepositoriesRoot", SettingKind::kFolder, nullptr,
     "Folder that holds all repositories. SetRepositoriesRoot of Kelvarion_Service also makes it "
     "and grants access to it."},
    {u"RepositoriesURLPrefix", SettingKind::kUrlPrefix, u"/svn",
     "Path in addresses under which repositories are served."},
    {u"InstallDir", SettingKind::kFolder, nullptr, "Installation folder of the web server."},
    {u"UseUPNFormat", SettingKind::kFlag, u"0", "User names in the form name@domain."},
    {u"DisableWindowsBasic", SettingKind::kFlag, u"0",
     "Refuse to take names and passwords of system accounts."},
    {u"EnableWindowsIntegrated", SettingKind::kFlag, u"0", "Integrated (Negotiate) login."},
    {u"UseServerBindings", SettingKind::kFlag, u"0", "Listen only on the addresses listed."},
    {u"ServerBindings", SettingKind::kAddresses, u"", "Addresses to listen on, with commas."},
    {u"EnableAccessLogging", SettingKind::kNumberFlag, u"0", "Log every request."},
    {u"EnableOperationalLogging", SettingKind::kNumberFlag, u"0", "Log Subversion operations."},
    {u"DoNotAdjustRepositoriesRootPermissions", SettingKind::kNumberFlag, u"0",
     "Leave the permissions of the repositories root alone when it is set."},
    {u"CreateGnuTLSCompatibleCertificate", SettingKind::kNumberFlag, u"0",
     "Make certificates in the form that GnuTLS clients accept."},
    {u"SelfSignedCertificateSignatureAlgorithm", SettingKind::kDigest, u"sha256",
     "Digest of self-signed certificates: sha256 or sha1."},
    {u"CertificateRequestSignatureAlgorithm", SettingKind::kDigest, u"sha256",
     "Digest of certificate requests: sha256 or sha1."},
    {u"DisableRedirectionFromLegacyWebInterface", SettingKind::kNumberFlag, u"0",
     "Keep the legacy web interface instead of redirecting to the current one."},
    {u"HttpSvnCacheSize", SettingKind::kNumber, u"128",
     "Memory cache of the Subversion module, in megabytes."},
    {u"WmiProviderLogLevel", SettingKind::kNumber, u"1",
     "Detail of the provider's event log: 0 leaves failures out."},
    {u"OrmuAdminSD", SettingKind::kText, u"",
     "Security descriptor of the replication service's administrators."},
    {u"OrmuReplicationPartnersSID", SettingKind::kText, u"",
     "SID of the group of replication partners."},
};
const std::size_t kSettingCount = std::size(kSettings);

namespace {

[[noreturn]] void Refuse(const Setting& setting, const char16_t* takes,
                         const std::u16string& given) {
  throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS, u"The setting %s takes %s, not '%s'",
                     setting.name, takes, given);
}

std::uint32_t NumberUpTo(const Setting& setting, std::uint32_t highest, const char16_t* takes,
                         const std::u16string& text) {
  const std::string bytes = Utf8(text);
  std::uint32_t number = 0;
  const auto [stop, error] = std::from_chars(bytes.data(), bytes.data() + bytes.size(), number);
  if (error != std::errc() || stop != bytes.data() + bytes.size() || number > highest)
    Refuse(setting, takes, text);
  return number;
}

bool Flag(const Setting& setting, const std::u16string& text) {
  if (text == u"1" || platform::EqualIgnoreCase(text, u"true")) return true;
  if (text == u"0" || platform::EqualIgnoreCase(text, u"false")) return false;
  Refuse(setting, u"1 or 0", text);
}

std::vector<std::u16string> Addresses(const Setting& setting, const std::u16string& text) {
  std::vector<std::u16string> addresses;
  std::size_t from = 0;
  while (from < text.size()) {
    const std::size_t comma = std::min(text.find(u',', from), text.size());
    addresses.push_back(text.substr(from, comma - from));
    if (!platform::IsIpAddress(addresses.back())) Refuse(setting, u"IP addresses", text);
    from = comma + 1;
  }
  return addresses;
}

// What the kinds that are stored as texts may be; the text as it is stored.
std::u16string CheckedText(const Setting& setting, const std::u16string& text) {
  switch (setting.kind) {
    case SettingKind::kFlag:
      return Flag(setting, text) ? u"1" : u"0";
    case SettingKind::kPort: {
      const std::uint32_t port = NumberUpTo(setting, 65535, u"a port from 1 to 65535", text);
      if (port == 0) Refuse(setting, u"a port from 1 to 65535", text);
      return Utf16(std::to_string(port));
    }
    case SettingKind::kFolder:
      if (!util::IsAbsoluteOrNetworkPath(text) || !apache::IsQuotable(text))
        Refuse(setting, u"an absolute path that the web server can read", text);
      return text;
    case SettingKind::kUrlPrefix:
      if (!apache::IsUrlPrefix(text))
        Refuse(setting, u"nothing or a slash with letters, digits, - and _", text);
      return text;
    case SettingKind::kHostName:
      if (!settings::IsValidServerName(text)) Refuse(setting, u"a host name or nothing", text);
      return text;
    case SettingKind::kDigest:
      if (text != u"sha1" && text != u"sha256") Refuse(setting, u"sha256 or sha1", text);
      return text;
    default:
      if (!apache::IsQuotable(text)) Refuse(setting, u"one line without quotation marks", text);
      return text;
  }
}

}  // namespace

const Setting& FindSetting(const std::u16string& name) {
  std::vector<std::u16string> names;
  for (const Setting& setting : kSettings) {
    if (platform::EqualIgnoreCase(setting.name, name)) return setting;
    names.emplace_back(setting.name);
  }
  throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS, u"There is no setting '%s'; there are: %s",
                     name, Join(names));
}

const char* StoredType(const Setting& setting) {
  switch (setting.kind) {
    case SettingKind::kAddresses:
      return "REG_MULTI_SZ";
    case SettingKind::kNumber:
    case SettingKind::kNumberFlag:
      return "REG_DWORD";
    default:
      return "REG_SZ";
  }
}

Json ReadSetting(const RegistryValues& values, const Setting& setting) {
  switch (setting.kind) {
    case SettingKind::kAddresses: {
      Json list = Json::array();
      for (const std::u16string& text : values.ReadMultiString(setting.name))
        list.push_back(Utf8(text));
      return list;
    }
    case SettingKind::kNumber:
    case SettingKind::kNumberFlag: {
      // Only a missing value reads as both.
      const std::uint32_t zero = values.ReadDword(setting.name, 0);
      const std::uint32_t one = values.ReadDword(setting.name, 1);
      return zero == one ? Json(zero) : Json(nullptr);
    }
    default: {
      // No stored text holds a NUL.
      const std::u16string missing(1, u'\0');
      const std::u16string text = values.ReadString(setting.name, missing);
      return text == missing ? Json(nullptr) : Json(Utf8(text));
    }
  }
}

void WriteSetting(RegistryValues& values, const Setting& setting, const std::u16string& text) {
  switch (setting.kind) {
    case SettingKind::kAddresses:
      return values.WriteMultiString(setting.name, Addresses(setting, text));
    case SettingKind::kNumber:
      return values.WriteDword(setting.name,
                               NumberUpTo(setting, 0xFFFFFFFF, u"a whole number", text));
    case SettingKind::kNumberFlag:
      return values.WriteDword(setting.name, Flag(setting, text) ? 1 : 0);
    default:
      return values.WriteString(setting.name, CheckedText(setting, text));
  }
}

}  // namespace kelvarion::host
