#include "platform/crypto/certificate_maker.h"

#include <openssl/bn.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>

#include <ctime>
#include <limits>

#include "platform/crypto/openssl_handles.h"

namespace kelvarion::platform {
namespace {

using Request = std::unique_ptr<X509_REQ, OpenSslDeleter<X509_REQ_free>>;

void FreeExtensions(STACK_OF(X509_EXTENSION) * list) {
  sk_X509_EXTENSION_pop_free(list, X509_EXTENSION_free);
}
using Extensions = std::unique_ptr<STACK_OF(X509_EXTENSION), OpenSslDeleter<FreeExtensions>>;

bool FillName(X509_NAME* name, const CertificateContent::Entries& entries) {
  for (const auto& [type, value] : entries) {
    if (X509_NAME_add_entry_by_txt(name, type, MBSTRING_UTF8,
                                   reinterpret_cast<const unsigned char*>(value.data()),
                                   static_cast<int>(value.size()), -1, 0) != 1)
      return false;
  }
  return true;
}

// Takes the value over; null values and values that cannot be taken over are freed.
bool Push(GENERAL_NAMES* names, int type, ASN1_STRING* value) {
  GENERAL_NAME* const name = value ? GENERAL_NAME_new() : nullptr;
  if (!name) {
    ASN1_STRING_free(value);
    return false;
  }
  GENERAL_NAME_set0_value(name, type, value);
  if (sk_GENERAL_NAME_push(names, name) > 0) return true;
  GENERAL_NAME_free(name);
  return false;
}

bool AddNames(STACK_OF(X509_EXTENSION) * *list, const CertificateContent& content) {
  if (content.dns_names.empty() && content.addresses.empty()) return true;
  const GeneralNamesHandle names(GENERAL_NAMES_new());
  if (!names) return false;
  for (const std::string& name : content.dns_names) {
    ASN1_STRING* const text = ASN1_STRING_type_new(V_ASN1_IA5STRING);
    if (text) ASN1_STRING_set(text, name.data(), static_cast<int>(name.size()));
    if (!Push(names.get(), GEN_DNS, text)) return false;
  }
  for (const std::string& address : content.addresses)
    if (!Push(names.get(), GEN_IPADD, a2i_IPADDRESS(address.c_str()))) return false;
  return X509V3_add1_i2d(list, NID_subject_alt_name, names.get(), 0, X509V3_ADD_DEFAULT) == 1;
}

// Null when one of them cannot be made.
Extensions MakeExtensions(const CertificateContent& content, X509* certificate, X509_REQ* request) {
  X509V3_CTX context;
  X509V3_set_ctx(&context, certificate, certificate, request, nullptr, 0);
  STACK_OF(X509_EXTENSION)* list = sk_X509_EXTENSION_new_null();
  bool good = list != nullptr;
  for (const auto& [name, value] : content.extensions) {
    X509_EXTENSION* const extension =
        good ? X509V3_EXT_conf(nullptr, &context, name, value.c_str()) : nullptr;
    good = extension && sk_X509_EXTENSION_push(list, extension) > 0;
    if (!good) X509_EXTENSION_free(extension);
  }
  good = good && AddNames(&list, content);
  Extensions owned(list);
  return good ? std::move(owned) : nullptr;
}

bool SetSerial(X509* certificate) {
  const std::unique_ptr<BIGNUM, OpenSslDeleter<BN_free>> number(BN_new());
  return number && BN_rand(number.get(), 64, BN_RAND_TOP_ANY, BN_RAND_BOTTOM_ANY) == 1 &&
         BN_to_ASN1_INTEGER(number.get(), X509_get_serialNumber(certificate));
}

bool SetValidity(X509* certificate, std::int64_t seconds) {
  std::time_t now = std::time(nullptr);
  constexpr std::int64_t kDay = 86400;
  if (seconds < 0 || seconds / kDay > std::numeric_limits<int>::max()) return false;
  return X509_time_adj_ex(X509_getm_notBefore(certificate), 0, 0, &now) &&
         X509_time_adj_ex(X509_getm_notAfter(certificate), static_cast<int>(seconds / kDay),
                          static_cast<long>(seconds % kDay), &now);
}

bool AddExtensions(X509* certificate, const CertificateContent& content) {
  const Extensions extensions = MakeExtensions(content, certificate, nullptr);
  for (int i = 0; extensions && i < sk_X509_EXTENSION_num(extensions.get()); ++i) {
    if (X509_add_ext(certificate, sk_X509_EXTENSION_value(extensions.get(), i), -1) != 1)
      return false;
  }
  return extensions != nullptr;
}

bool AddExtensions(X509_REQ* request, const CertificateContent& content) {
  const Extensions extensions = MakeExtensions(content, nullptr, request);
  if (!extensions) return false;
  return sk_X509_EXTENSION_num(extensions.get()) == 0 ||
         X509_REQ_add_extensions(request, extensions.get()) == 1;
}

// Null for keys whose signatures have their own way of hashing.
const EVP_MD* DigestFor(const PrivateKey& key, const char* name) {
  int required = NID_undef;
  const bool is_fixed = EVP_PKEY_get_default_digest_nid(key.get(), &required) == 2;
  return is_fixed && required == NID_undef ? nullptr : EVP_get_digestbyname(name);
}

}  // namespace

bool IsAddressName(const std::string& name) {
  ASN1_OCTET_STRING* const address = a2i_IPADDRESS(name.c_str());
  ASN1_OCTET_STRING_free(address);
  ERR_clear_error();
  return address != nullptr;
}

SslError MakeRsaKey(int bits, PrivateKey& out) {
  ERR_clear_error();
  EVP_PKEY* const key = EVP_RSA_gen(static_cast<unsigned>(bits));
  if (!key) return TakeSslError();
  out = PrivateKey(key, OpenSslDeleter<EVP_PKEY_free>());
  return {};
}

SslError MakeSelfSigned(const CertificateContent& content, std::int64_t seconds,
                        const PrivateKey& key, Certificate& out) {
  ERR_clear_error();
  Certificate certificate(X509_new(), OpenSslDeleter<X509_free>());
  X509* const x509 = certificate.get();
  if (!x509 || X509_set_version(x509, X509_VERSION_3) != 1 || !SetSerial(x509) ||
      !FillName(X509_get_subject_name(x509), content.subject) ||
      X509_set_issuer_name(x509, X509_get_subject_name(x509)) != 1 ||
      X509_set_pubkey(x509, key.get()) != 1 || !AddExtensions(x509, content) ||
      !SetValidity(x509, seconds) ||
      X509_sign(x509, key.get(), DigestFor(key, content.digest)) <= 0)
    return TakeSslError();
  out = std::move(certificate);
  return {};
}

SslError MakeRequest(const CertificateContent& content, const PrivateKey& key, std::string& out) {
  ERR_clear_error();
  const Request request(X509_REQ_new());
  const BioHandle bio(BIO_new(BIO_s_mem()));
  X509_REQ* const r = request.get();
  if (!r || !bio || X509_REQ_set_version(r, X509_REQ_VERSION_1) != 1 ||
      !FillName(X509_REQ_get_subject_name(r), content.subject) ||
      X509_REQ_set_pubkey(r, key.get()) != 1 || !AddExtensions(r, content) ||
      X509_REQ_sign(r, key.get(), DigestFor(key, content.digest)) <= 0 ||
      PEM_write_bio_X509_REQ(bio.get(), r) != 1)
    return TakeSslError();
  out = Written(bio);
  return {};
}

bool OnlySigns(const PrivateKey& key) { return EVP_PKEY_is_a(key.get(), "RSA") != 1; }

}  // namespace kelvarion::platform
