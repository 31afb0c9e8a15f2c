#include "host/init_certificate.h"

#include <gtest/gtest.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <memory>

namespace kelvarion::host {
namespace {

struct Free {
  void operator()(X509* x509) const { X509_free(x509); }
  void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
  void operator()(BIO* bio) const { BIO_free(bio); }
};

TEST(MakeInitialCertificateTest, KeyAndCertificateBelongTogetherAndNameTheServer) {
  const struct {
    const char* name;
    bool address;
  } rows[] = {{"svn.example.org", false}, {"192.0.2.7", true}};
  for (const auto& row : rows) {
    const std::string pem = MakeInitialCertificate(row.name);
    const std::unique_ptr<BIO, Free> bio(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())));
    const std::unique_ptr<EVP_PKEY, Free> key(
        PEM_read_bio_PrivateKey(bio.get(), nullptr, nullptr, nullptr));
    const std::unique_ptr<X509, Free> x509(PEM_read_bio_X509(bio.get(), nullptr, nullptr, nullptr));
    ASSERT_TRUE(key && x509) << row.name;
    EXPECT_EQ(EVP_PKEY_get_bits(key.get()), 3072);
    EXPECT_EQ(X509_check_private_key(x509.get(), key.get()), 1);
    EXPECT_EQ(X509_verify(x509.get(), key.get()), 1);
    EXPECT_EQ(X509_check_purpose(x509.get(), X509_PURPOSE_SSL_SERVER, 0), 1);
    EXPECT_EQ(row.address ? X509_check_ip_asc(x509.get(), row.name, 0)
                          : X509_check_host(x509.get(), row.name, 0, 0, nullptr),
              1);
    EXPECT_EQ(X509_check_host(x509.get(), "localhost", 0, 0, nullptr), 1);
    EXPECT_EQ(X509_check_ip_asc(x509.get(), "::1", 0), 1);
    EXPECT_NE(X509_check_host(x509.get(), "other.example.org", 0, 0, nullptr), 1);
  }
}

}  // namespace
}  // namespace kelvarion::host
