#include "platform/crypto/certificate.h"

#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>

#include "platform/crypto/openssl_handles.h"

namespace kelvarion::platform {
namespace {

// OpenSSL would ask the terminal; this remembers that it wanted to.
int RefusePassphrase(char*, int, int, void* asked) {
  if (asked) *static_cast<bool*>(asked) = true;
  return -1;
}

Certificate Own(X509* certificate) { return {certificate, OpenSslDeleter<X509_free>()}; }

template <class Writer>
SslError Collect(Writer write, std::string& out) {
  ERR_clear_error();
  const BioHandle bio(BIO_new(BIO_s_mem()));
  if (!bio || write(bio.get()) != 1) return TakeSslError();
  out = Written(bio);
  return {};
}

}  // namespace

SslError ReadCertificates(std::string_view pem, std::vector<Certificate>& out) {
  ERR_clear_error();
  const BioHandle bio = ReadFrom(pem);
  std::vector<Certificate> found;
  for (;;) {
    X509* const certificate =
        bio ? PEM_read_bio_X509(bio.get(), nullptr, RefusePassphrase, nullptr) : nullptr;
    if (certificate) {
      found.push_back(Own(certificate));
      continue;
    }
    if (found.empty()) return TakeSslError();
    const int reason = ERR_GET_REASON(ERR_peek_last_error());
    ERR_clear_error();
    // Any other reason is about one block, and the next one may be readable.
    if (reason == PEM_R_NO_START_LINE) break;
  }
  out = std::move(found);
  return {};
}

Win32Error ReadDerCertificate(std::string_view der, Certificate& out) {
  if (der.size() > LONG_MAX) return ERROR_INVALID_DATA;
  const auto* at = reinterpret_cast<const unsigned char*>(der.data());
  const auto* const end = at + der.size();
  Certificate certificate = Own(d2i_X509(nullptr, &at, static_cast<long>(der.size())));
  ERR_clear_error();
  if (!certificate || at != end) return ERROR_INVALID_DATA;
  out = std::move(certificate);
  return ERROR_SUCCESS;
}

KeyReading ReadPrivateKey(std::string_view pem) {
  // The reader takes public keys, too, so that there must be a private one to begin with.
  if (pem.find("PRIVATE KEY-----") == pem.npos) return {};
  ERR_clear_error();
  bool asked = false;
  const BioHandle bio = ReadFrom(pem);
  EVP_PKEY* const key =
      bio ? PEM_read_bio_PrivateKey(bio.get(), nullptr, RefusePassphrase, &asked) : nullptr;
  KeyReading reading;
  if (key) {
    reading.text = KeyText::kReadable;
    reading.key = PrivateKey(key, OpenSslDeleter<EVP_PKEY_free>());
    ERR_clear_error();
  } else {
    reading.text = asked ? KeyText::kEncrypted : KeyText::kDamaged;
    reading.failure = TakeSslError();
  }
  return reading;
}

SslError WritePem(const Certificate& certificate, std::string& out) {
  return Collect([&](BIO* bio) { return PEM_write_bio_X509(bio, certificate.get()); }, out);
}

SslError WritePem(const PrivateKey& key, std::string& out) {
  const auto write = [&](BIO* bio) {
    return PEM_write_bio_PrivateKey(bio, key.get(), nullptr, nullptr, 0, nullptr, nullptr);
  };
  return Collect(write, out);
}

SslError WriteDer(const Certificate& certificate, std::string& out) {
  return Collect([&](BIO* bio) { return i2d_X509_bio(bio, certificate.get()); }, out);
}

bool BelongTogether(const Certificate& certificate, const PrivateKey& key) {
  const bool match = X509_check_private_key(certificate.get(), key.get()) == 1;
  ERR_clear_error();
  return match;
}

bool IsSound(const PrivateKey& key) {
  const std::unique_ptr<EVP_PKEY_CTX, OpenSslDeleter<EVP_PKEY_CTX_free>> context(
      EVP_PKEY_CTX_new_from_pkey(nullptr, key.get(), nullptr));
  const bool sound = context && EVP_PKEY_pairwise_check(context.get()) == 1;
  ERR_clear_error();
  return sound;
}

bool IsSame(const Certificate& a, const Certificate& b) { return X509_cmp(a.get(), b.get()) == 0; }

}  // namespace kelvarion::platform
