// New keys, certificates and requests for certificates.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "platform/crypto/certificate.h"

namespace kelvarion::platform {

// What is to stand in a certificate; text is UTF-8.
struct CertificateContent {
  using Entries = std::vector<std::pair<const char*, std::string>>;
  Entries subject;  // OpenSSL's names of the entries: {"CN", "svn.example.org"}.
  Entries
      extensions;  // In the form of OpenSSL's configuration: {"extendedKeyUsage", "serverAuth"}.
  std::vector<std::string> dns_names;
  std::vector<std::string> addresses;  // Those that IsAddressName takes.
  const char* digest = "SHA256";       // Keys that sign with one of their own ignore it.
};

// Whether the name is an IP address that certificates can hold as one.
bool IsAddressName(const std::string& name);

SslError MakeRsaKey(int bits, PrivateKey& out);

// Version 3, with a random serial number, issued by its subject, valid for that many seconds from
// now on. The names follow the extensions.
SslError MakeSelfSigned(const CertificateContent& content, std::int64_t seconds,
                        const PrivateKey& key, Certificate& out);

// A PKCS #10 request in PEM form that asks for the names and the extensions.
SslError MakeRequest(const CertificateContent& content, const PrivateKey& key, std::string& out);

// Whether the key makes signatures only, so that nothing can be encrypted for it.
bool OnlySigns(const PrivateKey& key);

}  // namespace kelvarion::platform
