#include "host/init_certificate.h"

#include <openssl/bn.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <openssl/x509v3.h>

#include <memory>

#include "errors/exception.h"
#include "host/text.h"

namespace kelvarion::host {
namespace {

template <auto Free>
struct Deleter {
  template <class T>
  void operator()(T* object) const {
    Free(object);
  }
};
using Key = std::unique_ptr<EVP_PKEY, Deleter<EVP_PKEY_free>>;
using Certificate = std::unique_ptr<X509, Deleter<X509_free>>;
using Number = std::unique_ptr<BIGNUM, Deleter<BN_free>>;
using Memory = std::unique_ptr<BIO, Deleter<BIO_free>>;
using Extension = std::unique_ptr<X509_EXTENSION, Deleter<X509_EXTENSION_free>>;

void Check(bool good) {
  if (good) return;
  char text[256];
  ERR_error_string_n(ERR_get_error(), text, sizeof text);
  throw SSLException(u"Cannot make the certificate of the server: " + Utf16(text));
}

// A number that no other certificate of this server has.
void SetSerial(X509* certificate) {
  const Number number(BN_new());
  Check(number && BN_rand(number.get(), 127, BN_RAND_TOP_ONE, BN_RAND_BOTTOM_ANY) == 1);
  Check(BN_to_ASN1_INTEGER(number.get(), X509_get_serialNumber(certificate)) != nullptr);
}

void SetName(X509* certificate, const std::string& server_name) {
  constexpr std::size_t kLongestCommonName = 64;
  const std::string name = server_name.substr(0, kLongestCommonName);
  X509_NAME* const subject = X509_get_subject_name(certificate);
  Check(X509_NAME_add_entry_by_txt(subject, "CN", MBSTRING_UTF8,
                                   reinterpret_cast<const unsigned char*>(name.data()),
                                   static_cast<int>(name.size()), -1, 0) == 1);
  Check(X509_set_issuer_name(certificate, subject) == 1);
}

void AddExtension(X509* certificate, int nid, const std::string& value) {
  X509V3_CTX context;
  X509V3_set_ctx(&context, certificate, certificate, nullptr, nullptr, 0);
  const Extension extension(X509V3_EXT_conf_nid(nullptr, &context, nid, value.c_str()));
  Check(extension && X509_add_ext(certificate, extension.get(), -1) == 1);
}

// "IP:192.0.2.1" or "DNS:svn.example.org"
std::string AlternativeName(const std::string& name) {
  ASN1_OCTET_STRING* const address = a2i_IPADDRESS(name.c_str());
  ASN1_OCTET_STRING_free(address);
  ERR_clear_error();
  return (address ? "IP:" : "DNS:") + name;
}

std::string Pem(X509* certificate, EVP_PKEY* key) {
  const Memory memory(BIO_new(BIO_s_mem()));
  Check(memory &&
        PEM_write_bio_PrivateKey(memory.get(), key, nullptr, nullptr, 0, nullptr, nullptr) == 1);
  Check(PEM_write_bio_X509(memory.get(), certificate) == 1);
  char* bytes = nullptr;
  const long size = BIO_get_mem_data(memory.get(), &bytes);
  return {bytes, static_cast<std::size_t>(size)};
}

}  // namespace

std::string MakeInitialCertificate(const std::string& server_name) {
  constexpr int kKeyBits = 3072;
  constexpr long kSecondsValid = 3650L * 24 * 60 * 60;
  const Key key(EVP_RSA_gen(kKeyBits));
  const Certificate certificate(X509_new());
  Check(key && certificate);
  X509* const x509 = certificate.get();
  Check(X509_set_version(x509, X509_VERSION_3) == 1 && X509_set_pubkey(x509, key.get()) == 1);
  SetSerial(x509);
  SetName(x509, server_name);
  Check(X509_gmtime_adj(X509_getm_notBefore(x509), 0) != nullptr);
  Check(X509_gmtime_adj(X509_getm_notAfter(x509), kSecondsValid) != nullptr);
  AddExtension(x509, NID_basic_constraints, "critical,CA:FALSE");
  AddExtension(x509, NID_key_usage, "critical,digitalSignature,keyEncipherment");
  AddExtension(x509, NID_ext_key_usage, "serverAuth");
  AddExtension(x509, NID_subject_key_identifier, "hash");
  AddExtension(x509, NID_subject_alt_name,
               AlternativeName(server_name) + ",DNS:localhost,IP:127.0.0.1,IP:::1");
  Check(X509_sign(x509, key.get(), EVP_sha256()) > 0);
  return Pem(x509, key.get());
}

}  // namespace kelvarion::host
