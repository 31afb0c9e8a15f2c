#include "ormu/master_credentials.h"

#include <apr_strings.h>
#include <openssl/sha.h>
#include <svn_base64.h>
#include <svn_hash.h>
#include <svn_string.h>

#include <string>

namespace kelvarion::ormu {
namespace {

std::string HexSha256(const svn_string_t& bytes) {
  unsigned char digest[SHA256_DIGEST_LENGTH];
  SHA256(reinterpret_cast<const unsigned char*>(bytes.data), bytes.len, digest);
  std::string hex;
  for (const unsigned char byte : digest) {
    constexpr const char* kDigits = "0123456789abcdef";
    hex += kDigits[byte >> 4];
    hex += kDigits[byte & 15];
  }
  return hex;
}

const MasterAccess& AccessOf(void* baton) { return *static_cast<const MasterAccess*>(baton); }

svn_error_t* GivePassword(void** given, void** state, void* baton, apr_hash_t*, const char*,
                          apr_pool_t* pool) {
  const MasterAccess& access = AccessOf(baton);
  *state = *given = nullptr;
  if (access.account.empty()) return nullptr;
  auto* const answer =
      static_cast<svn_auth_cred_simple_t*>(apr_pcalloc(pool, sizeof(svn_auth_cred_simple_t)));
  answer->username = apr_pstrdup(pool, access.account.c_str());
  answer->password = apr_pstrdup(pool, access.password.c_str());
  *given = answer;
  return nullptr;
}

svn_error_t* GiveName(void** given, void** state, void* baton, apr_hash_t*, const char*,
                      apr_pool_t* pool) {
  const MasterAccess& access = AccessOf(baton);
  auto* const answer =
      static_cast<svn_auth_cred_username_t*>(apr_pcalloc(pool, sizeof(svn_auth_cred_username_t)));
  answer->username = apr_pstrdup(pool, access.account.c_str());
  *state = nullptr;
  *given = answer;
  return nullptr;
}

// Asked about every certificate that no authority vouches for; with a certificate of our own to
// compare with no authority counts.
svn_error_t* JudgeCertificate(void** given, void** state, void* baton, apr_hash_t* parameters,
                              const char*, apr_pool_t* pool) {
  *state = *given = nullptr;
  const auto* const info = static_cast<svn_auth_ssl_server_cert_info_t*>(
      svn_hash_gets(parameters, SVN_AUTH_PARAM_SSL_SERVER_CERT_INFO));
  const auto* const failures =
      static_cast<apr_uint32_t*>(svn_hash_gets(parameters, SVN_AUTH_PARAM_SSL_SERVER_FAILURES));
  if (!info || !info->ascii_cert || !failures) return nullptr;
  const svn_string_t* const encoded = svn_string_create(info->ascii_cert, pool);
  if (HexSha256(*svn_base64_decode_string(encoded, pool)) != AccessOf(baton).certificate_sha256)
    return nullptr;
  auto* const answer = static_cast<svn_auth_cred_ssl_server_trust_t*>(
      apr_pcalloc(pool, sizeof(svn_auth_cred_ssl_server_trust_t)));
  answer->accepted_failures = *failures;
  *given = answer;
  return nullptr;
}

constexpr svn_auth_provider_t kProviders[] = {
    {SVN_AUTH_CRED_SIMPLE, GivePassword, nullptr, nullptr},
    {SVN_AUTH_CRED_USERNAME, GiveName, nullptr, nullptr},
    {SVN_AUTH_CRED_SSL_SERVER_TRUST, JudgeCertificate, nullptr, nullptr},
};

}  // namespace

svn_auth_baton_t* MakeAuthBaton(const MasterAccess& access, apr_pool_t* pool) {
  apr_array_header_t* const providers =
      apr_array_make(pool, 3, sizeof(svn_auth_provider_object_t*));
  for (const svn_auth_provider_t& provider : kProviders) {
    auto* const object = static_cast<svn_auth_provider_object_t*>(
        apr_pcalloc(pool, sizeof(svn_auth_provider_object_t)));
    object->vtable = &provider;
    object->provider_baton = const_cast<MasterAccess*>(&access);
    APR_ARRAY_PUSH(providers, svn_auth_provider_object_t*) = object;
  }
  svn_auth_baton_t* baton = nullptr;
  svn_auth_open(&baton, providers, pool);
  svn_auth_set_parameter(baton, SVN_AUTH_PARAM_NO_AUTH_CACHE, "");
  svn_auth_set_parameter(baton, SVN_AUTH_PARAM_NON_INTERACTIVE, "");
  return baton;
}

}  // namespace kelvarion::ormu
