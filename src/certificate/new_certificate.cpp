#include "certificate/new_certificate.h"

#include <chrono>

#include "certificate/failure.h"
#include "certificate/install.h"
#include "platform/crypto/certificate_maker.h"
#include "platform/text/compare.h"
#include "platform/text/encoding.h"

namespace kelvarion::certificate {
namespace {

using platform::CertificateContent;

std::string Utf8(const std::u16string& text) {
  std::string utf8;
  if (!platform::Utf16ToUtf8(text, utf8))
    throw SimpleException(u"A name for the certificate is not valid text.");
  return utf8;
}

void AddName(CertificateContent& content, const std::u16string& name) {
  if (name.empty()) return;
  content.dns_names.push_back(Utf8(name));
  // Clients that go to an address do not look for it among the DNS names.
  if (platform::IsAddressName(content.dns_names.back()))
    content.addresses.push_back(content.dns_names.back());
}

CertificateContent ToContent(const CertificateParameters& parameters, const char* digest) {
  CertificateContent content;
  content.digest = digest;
  const std::pair<const char*, const std::u16string&> parts[] = {
      {"CN", parameters.common_name},
      {"O", parameters.organization},
      {"OU", parameters.organization_unit},
      {"C", parameters.country_code},
      {"ST", parameters.state},
      {"L", parameters.city}};
  for (const auto& [type, value] : parts)
    if (!value.empty()) content.subject.emplace_back(type, Utf8(value));
  AddName(content, parameters.common_name);
  for (const std::u16string& name : parameters.additional_names) AddName(content, name);
  return content;
}

// `parameter` is the setting as messages have always spelt it.
const char* DigestNamed(const std::u16string& name, const char16_t* parameter) {
  if (platform::EqualIgnoreCase(name, u"sha1")) return "SHA1";
  if (platform::EqualIgnoreCase(name, u"sha256")) return "SHA256";
  throw SimpleException(
      u"Cannot read configuration parameter '%s' from registry: unexpected value '%s'.", parameter,
      name);
}

constexpr std::int64_t kDay = 86400;

// Dates of certificates have years of four digits.
void RequireDate(std::uint32_t days) {
  using namespace std::chrono;
  constexpr sys_days kLast = December / 31 / year(9999);
  if (floor<std::chrono::days>(system_clock::now()) + std::chrono::days(days) >= kLast) {
    throw SimpleException(
        u"A certificate cannot be valid for %u days: its dates end with the year 9999.", days);
  }
}

// With a key that cannot be used to encrypt, a client needs to hear that it may sign.
void AddUsage(CertificateContent& content, const platform::PrivateKey& key) {
  std::string usage = "dataEncipherment, keyEncipherment";
  if (platform::OnlySigns(key)) usage += ", digitalSignature";
  content.extensions = {{"keyUsage", usage}, {"extendedKeyUsage", "serverAuth"}};
}

}  // namespace

void CreateSelfSignedCertificate(const ServerContext& context,
                                 const CertificateParameters& parameters, std::uint32_t days) {
  RequireDate(days);
  const IcRegistryAccessor& configuration = context.configuration();
  const CertificatePaths paths = PathsOf(configuration);
  const CertificateLock lock(paths);
  const platform::PrivateKey key = ReadInstalled(paths).key();
  const char* const digest = DigestNamed(configuration.GetSelfSignedCertificateSignatureAlgorithm(),
                                         u"SelfSignedCertifcateSignatureAlgorithm");
  CertificateContent content = ToContent(parameters, digest);
  if (!configuration.GetCreateGnuTLSCompatibleCertificate()) AddUsage(content, key);
  platform::Certificate certificate;
  Require(platform::MakeSelfSigned(content, days * kDay, key, certificate),
          u"Cannot make the certificate");
  Install(paths, certificate, key, {});
}

std::u16string CreateCertificateRequest(const ServerContext& context,
                                        const CertificateParameters& parameters) {
  const IcRegistryAccessor& configuration = context.configuration();
  const platform::PrivateKey key = ReadInstalled(PathsOf(configuration)).key();
  const char* const digest = DigestNamed(configuration.GetCertificateRequestSignatureAlgorithm(),
                                         u"CertificateRequestSignatureAlgorithm");
  std::string pem;
  Require(platform::MakeRequest(ToContent(parameters, digest), key, pem),
          u"Cannot make the certificate request");
  return platform::Utf16ForDisplay(pem);
}

}  // namespace kelvarion::certificate
