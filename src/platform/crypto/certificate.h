// Certificates and private keys, and their text in PEM form.
//
// Handles may be empty, share what they point to, and are safe from any thread since nothing here
// changes it. Nothing here asks anybody for a passphrase.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/com/types.h"
#include "platform/crypto/ssl_error.h"

struct evp_pkey_st;
struct x509_st;

namespace kelvarion::platform {

using PrivateKey = std::shared_ptr<evp_pkey_st>;
using Certificate = std::shared_ptr<x509_st>;

// All certificates of the text, in its order. The first one must be readable; a later one that is
// not is left out.
SslError ReadCertificates(std::string_view pem, std::vector<Certificate>& out);
// ERROR_INVALID_DATA for anything but one certificate in DER form.
Win32Error ReadDerCertificate(std::string_view der, Certificate& out);

enum class KeyText { kReadable, kMissing, kEncrypted, kDamaged };

struct KeyReading {
  KeyText text = KeyText::kMissing;
  PrivateKey key;    // Of a readable text.
  SslError failure;  // Of a damaged one.
};
// The first private key of the text.
KeyReading ReadPrivateKey(std::string_view pem);

SslError WritePem(const Certificate& certificate, std::string& out);
// Not encrypted.
SslError WritePem(const PrivateKey& key, std::string& out);
SslError WriteDer(const Certificate& certificate, std::string& out);

// Whether the certificate was issued for the key.
bool BelongTogether(const Certificate& certificate, const PrivateKey& key);
// Whether the two halves of the key fit each other.
bool IsSound(const PrivateKey& key);
bool IsSame(const Certificate& a, const Certificate& b);

struct DistinguishedName {
  std::u16string common_name;
  std::u16string organization;
  std::u16string organization_unit;
  std::u16string country;
  std::u16string state;
  std::u16string city;
};

struct CertificateTime {
  enum class Kind { kEmpty, kGood, kInvalid, kUnknown };
  Kind kind = Kind::kEmpty;
  std::int64_t seconds = 0;  // Since 1970 in universal time, for a good one.
};

struct CertificateDescription {
  DistinguishedName subject;
  DistinguishedName issuer;
  CertificateTime valid_from;
  CertificateTime valid_to;
  std::vector<std::u16string> alternative_names;  // DNS names and IP addresses, each once.
  std::u16string fingerprint;                     // SHA-256: "0A:1B:…".
  std::u16string key;                             // "RSA 3072", "EC 256".
};
// Parts that the certificate does not have stay empty.
SslError DescribeCertificate(const Certificate& certificate, CertificateDescription& out);

}  // namespace kelvarion::platform
