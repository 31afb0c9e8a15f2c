#include "host/init_certificate.h"

#include "errors/exception.h"
#include "host/text.h"
#include "platform/crypto/certificate_maker.h"

namespace kelvarion::host {
namespace {

void Check(const platform::SslError& error) {
  if (error) throw SSLException(u"Cannot make the certificate of the server: " + error.reasons);
}

platform::CertificateContent ContentFor(const std::string& server_name) {
  constexpr std::size_t kLongestCommonName = 64;
  platform::CertificateContent content;
  content.subject = {{"CN", server_name.substr(0, kLongestCommonName)}};
  content.extensions = {{"basicConstraints", "critical,CA:FALSE"},
                        {"keyUsage", "critical,digitalSignature,keyEncipherment"},
                        {"extendedKeyUsage", "serverAuth"},
                        {"subjectKeyIdentifier", "hash"}};
  content.dns_names = {"localhost"};
  content.addresses = {"127.0.0.1", "::1"};
  auto& names = platform::IsAddressName(server_name) ? content.addresses : content.dns_names;
  names.insert(names.begin(), server_name);
  return content;
}

}  // namespace

std::string MakeInitialCertificate(const std::string& server_name) {
  constexpr int kKeyBits = 3072;
  constexpr std::int64_t kSecondsValid = 3650LL * 24 * 60 * 60;
  platform::PrivateKey key;
  platform::Certificate certificate;
  std::string key_text;
  std::string certificate_text;
  Check(platform::MakeRsaKey(kKeyBits, key));
  Check(platform::MakeSelfSigned(ContentFor(server_name), kSecondsValid, key, certificate));
  Check(platform::WritePem(key, key_text));
  Check(platform::WritePem(certificate, certificate_text));
  return key_text + certificate_text;
}

}  // namespace kelvarion::host
