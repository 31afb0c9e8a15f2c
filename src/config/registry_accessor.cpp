#include "config/registry_accessor.h"

#include <algorithm>

#include "platform/text/format.h"

namespace kelvarion {
namespace {

constexpr const char16_t* kServerName = u"ServerName";
constexpr const char16_t* kServerPort = u"ServerPort";
constexpr const char16_t* kSSLServerPort = u"SSLServerPort";
constexpr const char16_t* kUseSSL = u"UseSSL";
constexpr const char16_t* kUseWindowsAuth = u"UseWindowsAuth";
constexpr const char16_t* kRepositoriesRoot = u"RepositoriesRoot";
constexpr const char16_t* kRepositoriesURLPrefix = u"RepositoriesURLPrefix";
constexpr const char16_t* kInstallDir = u"InstallDir";
constexpr const char16_t* kUseUPNFormat = u"UseUPNFormat";
constexpr const char16_t* kDisableWindowsBasic = u"DisableWindowsBasic";
constexpr const char16_t* kEnableWindowsIntegrated = u"EnableWindowsIntegrated";
constexpr const char16_t* kUseServerBindings = u"UseServerBindings";
constexpr const char16_t* kServerBindings = u"ServerBindings";
constexpr const char16_t* kEnableAccessLogging = u"EnableAccessLogging";
constexpr const char16_t* kEnableOperationalLogging = u"EnableOperationalLogging";
constexpr const char16_t* kDoNotAdjustRootPermissions = u"DoNotAdjustRepositoriesRootPermissions";
constexpr const char16_t* kGnuTLSCompatible = u"CreateGnuTLSCompatibleCertificate";
constexpr const char16_t* kSelfSignedAlgorithm = u"SelfSignedCertificateSignatureAlgorithm";
constexpr const char16_t* kRequestAlgorithm = u"CertificateRequestSignatureAlgorithm";
constexpr const char16_t* kDisableRedirection = u"DisableRedirectionFromLegacyWebInterface";
constexpr const char16_t* kHttpSvnCacheSize = u"HttpSvnCacheSize";
constexpr const char16_t* kWmiProviderLogLevel = u"WmiProviderLogLevel";
constexpr const char16_t* kOrmuAdminSD = u"OrmuAdminSD";
constexpr const char16_t* kOrmuReplicationPartnersSID = u"OrmuReplicationPartnersSID";

// Flags of the older settings are text. Anything but "0" is on.
bool ReadTextFlag(const RegistryValues& values, const char16_t* name) {
  return values.ReadString(name, u"0") != u"0";
}

void WriteTextFlag(RegistryValues& values, const char16_t* name, bool on) {
  values.WriteString(name, on ? u"1" : u"0");
}

// The number that the text begins with, as the C library reads it; 0 when there is none.
int LeadingNumber(const std::u16string& text) {
  std::size_t at = text.find_first_not_of(u" \t\n\v\f\r");
  if (at == std::u16string::npos) return 0;
  const bool negative = text[at] == u'-';
  if (negative || text[at] == u'+') ++at;
  constexpr std::int64_t kLargest = 0x7FFFFFFF;
  std::int64_t number = 0;
  for (; at < text.size() && text[at] >= u'0' && text[at] <= u'9'; ++at)
    number = std::min(number * 10 + (text[at] - u'0'), kLargest);
  return static_cast<int>(negative ? -number : number);
}

}  // namespace

std::u16string RegistryAccessor::GetServerName() const {
  return values_.ReadString(kServerName, u"");
}

int RegistryAccessor::GetServerPort(bool secure) const {
  return LeadingNumber(values_.ReadString(secure ? kSSLServerPort : kServerPort, std::nullopt));
}

std::u16string RegistryAccessor::GetRepositoriesRoot(
    const std::optional<std::u16string>& default_root) const {
  return values_.ReadString(kRepositoriesRoot, default_root);
}

std::u16string RegistryAccessor::GetRepositoriesURLPrefix() const {
  return values_.ReadString(kRepositoriesURLPrefix, u"/svn");
}

std::u16string RegistryAccessor::GetInstallDir() const {
  return values_.ReadString(kInstallDir, std::nullopt);
}

bool RegistryAccessor::GetUseSSL() const { return ReadTextFlag(values_, kUseSSL); }

bool RegistryAccessor::GetUseWindowsAuth() const { return ReadTextFlag(values_, kUseWindowsAuth); }

bool RegistryAccessor::GetUseUPNFormat() const { return ReadTextFlag(values_, kUseUPNFormat); }

bool RegistryAccessor::IsWindowsBasicEnabled() const {
  return !ReadTextFlag(values_, kDisableWindowsBasic);
}

bool RegistryAccessor::GetEnableWindowsIntegrated() const {
  return ReadTextFlag(values_, kEnableWindowsIntegrated);
}

bool RegistryAccessor::GetUseServerBindings() const {
  return ReadTextFlag(values_, kUseServerBindings);
}

std::vector<std::u16string> RegistryAccessor::GetServerBindings() const {
  return values_.ReadMultiString(kServerBindings);
}

bool RegistryAccessor::GetEnableAccessLogging() const {
  return values_.ReadDword(kEnableAccessLogging, 0) != 0;
}

bool RegistryAccessor::GetEnableOperationalLogging() const {
  return values_.ReadDword(kEnableOperationalLogging, 0) != 0;
}

bool RegistryAccessor::GetAdjustRepositoriesRootPermissions() const {
  return values_.ReadDword(kDoNotAdjustRootPermissions, 0) == 0;
}

bool RegistryAccessor::GetCreateGnuTLSCompatibleCertificate() const {
  return values_.ReadDword(kGnuTLSCompatible, 0) != 0;
}

std::u16string RegistryAccessor::GetSelfSignedCertificateSignatureAlgorithm() const {
  return values_.ReadString(kSelfSignedAlgorithm, u"sha256");
}

std::u16string RegistryAccessor::GetCertificateRequestSignatureAlgorithm() const {
  return values_.ReadString(kRequestAlgorithm, u"sha256");
}

bool RegistryAccessor::GetRedirectFromLegacyWebInterface() const {
  return values_.ReadDword(kDisableRedirection, 0) == 0;
}

std::uint32_t RegistryAccessor::GetHttpSvnCacheSize() const {
  return values_.ReadDword(kHttpSvnCacheSize, product_ == ProductType::kServer ? 128 : 32);
}

std::uint32_t RegistryAccessor::GetWmiProviderLogLevel() const {
  return values_.ReadDword(kWmiProviderLogLevel, 1);
}

std::u16string RegistryAccessor::GetOrmuReplicationPartnersSID() const {
  return values_.ReadString(kOrmuReplicationPartnersSID, u"");
}

void RegistryAccessor::SaveOrmuAdminSD(JournalFile& journal) const {
  values_.Save(kOrmuAdminSD, journal);
}

void RegistryAccessor::RestoreOrmuAdminSD(JournalFile& journal) {
  values_.Restore(kOrmuAdminSD, journal);
}

void RegistryAccessor::SaveOrmuReplicationPartnersSID(JournalFile& journal) const {
  values_.Save(kOrmuReplicationPartnersSID, journal);
}

void RegistryAccessor::RestoreOrmuReplicationPartnersSID(JournalFile& journal) {
  values_.Restore(kOrmuReplicationPartnersSID, journal);
}

void RegistryAccessor::SetServerName(const std::u16string& name) {
  values_.WriteString(kServerName, name);
}

void RegistryAccessor::SetRepositoriesRoot(const std::u16string& root) {
  values_.WriteString(kRepositoriesRoot, root);
}

void RegistryAccessor::SetRepositoriesURLPrefix(const std::u16string& prefix) {
  values_.WriteString(kRepositoriesURLPrefix, prefix);
}

void RegistryAccessor::SetServerPort(bool secure, int port) {
  values_.WriteString(secure ? kSSLServerPort : kServerPort, Format(u"%d", port));
}

void RegistryAccessor::SetUseSSL(bool use) { WriteTextFlag(values_, kUseSSL, use); }

void RegistryAccessor::SetUseWindowsAuth(bool use) { WriteTextFlag(values_, kUseWindowsAuth, use); }

void RegistryAccessor::SetUseUPNFormat(bool use) { WriteTextFlag(values_, kUseUPNFormat, use); }

void RegistryAccessor::SetWindowsBasicEnabled(bool enabled) {
  WriteTextFlag(values_, kDisableWindowsBasic, !enabled);
}

void RegistryAccessor::SetEnableWindowsIntegrated(bool enable) {
  WriteTextFlag(values_, kEnableWindowsIntegrated, enable);
}

void RegistryAccessor::SetUseServerBindings(bool use) {
  WriteTextFlag(values_, kUseServerBindings, use);
}

void RegistryAccessor::SetServerBindings(const std::vector<std::u16string>& addresses) {
  values_.WriteMultiString(kServerBindings, addresses);
}

void RegistryAccessor::SetEnableAccessLogging(bool enable) {
  values_.WriteDword(kEnableAccessLogging, enable ? 1 : 0);
}

void RegistryAccessor::SetEnableOperationalLogging(bool enable) {
  values_.WriteDword(kEnableOperationalLogging, enable ? 1 : 0);
}

void RegistryAccessor::SetAdjustRepositoriesRootPermissions(bool adjust) {
  values_.WriteDword(kDoNotAdjustRootPermissions, adjust ? 0 : 1);
}

void RegistryAccessor::SetOrmuAdminSD(const std::u16string& descriptor) {
  values_.WriteString(kOrmuAdminSD, descriptor);
}

void RegistryAccessor::SetOrmuReplicationPartnersSID(const std::u16string& sid) {
  values_.WriteString(kOrmuReplicationPartnersSID, sid);
}

void RegistryAccessor::SetRedirectFromLegacyWebInterface(bool redirect) {
  values_.WriteDword(kDisableRedirection, redirect ? 0 : 1);
}

}  // namespace kelvarion
