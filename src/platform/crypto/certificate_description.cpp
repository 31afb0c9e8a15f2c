#include <arpa/inet.h>
#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/evp.h>

#include <algorithm>
#include <ctime>

#include "platform/crypto/certificate.h"
#include "platform/crypto/openssl_handles.h"
#include "platform/text/encoding.h"

namespace kelvarion::platform {
namespace {

std::u16string ToText(const ASN1_STRING* string) {
  unsigned char* bytes = nullptr;
  const int size = ASN1_STRING_to_UTF8(&bytes, string);
  if (size < 0) return {};
  std::u16string text =
      Utf16ForDisplay({reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size)});
  OPENSSL_free(bytes);
  return text;
}

std::u16string Part(X509_NAME* name, int nid) {
  const int at = X509_NAME_get_index_by_NID(name, nid, -1);
  if (at < 0) return {};
  return ToText(X509_NAME_ENTRY_get_data(X509_NAME_get_entry(name, at)));
}

DistinguishedName Describe(X509_NAME* name) {
  return {Part(name, NID_commonName),
          Part(name, NID_organizationName),
          Part(name, NID_organizationalUnitName),
          Part(name, NID_countryName),
          Part(name, NID_stateOrProvinceName),
          Part(name, NID_localityName)};
}

CertificateTime Describe(const ASN1_TIME* time) {
  using Kind = CertificateTime::Kind;
  if (!time || ASN1_STRING_length(time) == 0) return {};
  const int type = ASN1_STRING_type(time);
  if (type != V_ASN1_UTCTIME && type != V_ASN1_GENERALIZEDTIME) return {Kind::kUnknown};
  std::tm parts{};
  if (ASN1_TIME_check(time) != 1 || ASN1_TIME_to_tm(time, &parts) != 1) return {Kind::kInvalid};
  return {Kind::kGood, timegm(&parts)};
}

std::u16string AddressText(const ASN1_OCTET_STRING* address) {
  const int size = ASN1_STRING_length(address);
  if (size != 4 && size != 16) return {};
  char text[INET6_ADDRSTRLEN];
  inet_ntop(size == 4 ? AF_INET : AF_INET6, ASN1_STRING_get0_data(address), text, sizeof text);
  return Utf16ForDisplay(text);
}

std::vector<std::u16string> AlternativeNames(const X509* certificate) {
  std::vector<std::u16string> texts;
  const auto add = [&](const std::u16string& text) {
    if (std::ranges::find(texts, text) == texts.end()) texts.push_back(text);
  };
  const GeneralNamesHandle names(static_cast<GENERAL_NAMES*>(
      X509_get_ext_d2i(certificate, NID_subject_alt_name, nullptr, nullptr)));
  for (int i = 0; names && i < sk_GENERAL_NAME_num(names.get()); ++i) {
    const GENERAL_NAME* const name = sk_GENERAL_NAME_value(names.get(), i);
    if (name->type == GEN_DNS) add(ToText(name->d.dNSName));
    if (name->type == GEN_IPADD) add(AddressText(name->d.iPAddress));
  }
  return texts;
}

std::u16string Fingerprint(const X509* certificate) {
  unsigned char hash[EVP_MAX_MD_SIZE];
  unsigned size = 0;
  if (X509_digest(certificate, EVP_sha256(), hash, &size) != 1) return {};
  constexpr char16_t kDigits[] = u"0123456789ABCDEF";
  std::u16string text;
  for (unsigned i = 0; i < size; ++i) {
    if (i > 0) text += u':';
    text += kDigits[hash[i] >> 4];
    text += kDigits[hash[i] & 0xF];
  }
  return text;
}

std::u16string KindOfKey(const EVP_PKEY* key) {
  const char* const type = key ? EVP_PKEY_get0_type_name(key) : nullptr;
  if (!type) return {};
  return Utf16ForDisplay(type + (" " + std::to_string(EVP_PKEY_get_bits(key))));
}

}  // namespace

SslError DescribeCertificate(const Certificate& certificate, CertificateDescription& out) {
  ERR_clear_error();
  const X509* const x509 = certificate.get();
  if (!x509) return TakeSslError();
  out.subject = Describe(X509_get_subject_name(x509));
  out.issuer = Describe(X509_get_issuer_name(x509));
  out.valid_from = Describe(X509_get0_notBefore(x509));
  out.valid_to = Describe(X509_get0_notAfter(x509));
  out.alternative_names = AlternativeNames(x509);
  out.fingerprint = Fingerprint(x509);
  out.key = KindOfKey(X509_get0_pubkey(x509));
  ERR_clear_error();
  return {};
}

}  // namespace kelvarion::platform
