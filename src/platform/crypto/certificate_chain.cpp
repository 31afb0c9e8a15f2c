#include "platform/crypto/certificate_chain.h"

#include <openssl/err.h>

#include <algorithm>
#include <cstdlib>

#include "platform/crypto/openssl_handles.h"
#include "platform/text/encoding.h"

namespace kelvarion::platform {
namespace {

// Certificates that somebody else owns, too.
void FreeCertificates(STACK_OF(X509) * list) { sk_X509_pop_free(list, X509_free); }
using CertificateStack = std::unique_ptr<STACK_OF(X509), OpenSslDeleter<FreeCertificates>>;
using Store = std::unique_ptr<X509_STORE, OpenSslDeleter<X509_STORE_free>>;
using StoreContext = std::unique_ptr<X509_STORE_CTX, OpenSslDeleter<X509_STORE_CTX_free>>;

CertificateStack ToStack(const std::vector<Certificate>& certificates) {
  CertificateStack stack(sk_X509_new_null());
  for (const Certificate& certificate : certificates) {
    if (!stack || X509_up_ref(certificate.get()) != 1) return nullptr;
    if (sk_X509_push(stack.get(), certificate.get()) > 0) continue;
    X509_free(certificate.get());
    return nullptr;
  }
  return stack;
}

// The machine keeps its roots one by one, found by their names, and all in one file, which takes
// long to read; so that one is left to those who want another one.
bool TrustRootsOfMachine(X509_STORE* store) {
  X509_LOOKUP* const folder = X509_STORE_add_lookup(store, X509_LOOKUP_hash_dir());
  if (!folder || X509_LOOKUP_add_dir(folder, nullptr, X509_FILETYPE_DEFAULT) != 1) return false;
  const char* const file = std::getenv(X509_get_default_cert_file_env());
  if (file) X509_STORE_load_file(store, file);
  return true;
}

bool IsAboutTheRoot(int error) {
  return error == X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT ||
         error == X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN || error == X509_V_ERR_CERT_UNTRUSTED;
}

bool IsValidNow(const X509* certificate) {
  return X509_cmp_current_time(X509_get0_notBefore(certificate)) < 0 &&
         X509_cmp_current_time(X509_get0_notAfter(certificate)) > 0;
}

// Dates, names and revocation change or depend on the client; what is installed need not wait.
bool IsForgiven(int error) {
  switch (error) {
    case X509_V_ERR_CERT_HAS_EXPIRED:
    case X509_V_ERR_CERT_NOT_YET_VALID:
    case X509_V_ERR_HOSTNAME_MISMATCH:
    case X509_V_ERR_IP_ADDRESS_MISMATCH:
    case X509_V_ERR_CERT_REVOKED:
    case X509_V_ERR_UNABLE_TO_GET_CRL:
    case X509_V_ERR_UNABLE_TO_GET_CRL_ISSUER:
    case X509_V_ERR_CRL_HAS_EXPIRED:
    case X509_V_ERR_CRL_NOT_YET_VALID:
      return true;
    default:
      return IsAboutTheRoot(error);
  }
}

int Judge(int verified, X509_STORE_CTX* context) {
  const int error = X509_STORE_CTX_get_error(context);
  if (verified || !IsForgiven(error)) return verified;
  if (IsAboutTheRoot(error))
    static_cast<CertificateChain*>(X509_STORE_CTX_get_app_data(context))->root_trusted = false;
  return 1;
}

}  // namespace

Win32Error BuildServerChain(const Certificate& certificate,
                            const std::vector<Certificate>& candidates, CertificateChain& out) {
  const Store store(X509_STORE_new());
  const StoreContext context(X509_STORE_CTX_new());
  const CertificateStack stack = ToStack(candidates);
  if (!store || !context || !stack) return ERROR_NOT_ENOUGH_MEMORY;
  CertificateChain chain;
  chain.root_trusted = true;
  if (!TrustRootsOfMachine(store.get()) ||
      X509_STORE_CTX_init(context.get(), store.get(), certificate.get(), stack.get()) != 1 ||
      X509_STORE_CTX_set_purpose(context.get(), X509_PURPOSE_SSL_SERVER) != 1 ||
      X509_STORE_CTX_set_app_data(context.get(), &chain) != 1) {
    ERR_clear_error();
    return ERROR_GEN_FAILURE;
  }
  X509_VERIFY_PARAM_set_auth_level(X509_STORE_CTX_get0_param(context.get()), 0);
  X509_STORE_CTX_set_verify_cb(context.get(), Judge);
  const bool verified = X509_verify_cert(context.get()) == 1;
  const CertificateStack found(X509_STORE_CTX_get1_chain(context.get()));
  for (int i = 0; found && i < sk_X509_num(found.get()); ++i) {
    X509* const element = sk_X509_value(found.get(), i);
    X509_up_ref(element);
    chain.elements.emplace_back(element, OpenSslDeleter<X509_free>());
  }
  chain.valid_now = std::ranges::all_of(
      chain.elements, [](const Certificate& element) { return IsValidNow(element.get()); });
  chain.partial = chain.elements.empty() || X509_self_signed(chain.elements.back().get(), 0) != 1;
  chain.good = verified && !chain.partial;
  chain.root_trusted = chain.root_trusted && chain.good;
  if (!chain.good)
    chain.problem =
        Utf16ForDisplay(X509_verify_cert_error_string(X509_STORE_CTX_get_error(context.get())));
  ERR_clear_error();
  out = std::move(chain);
  return ERROR_SUCCESS;
}

}  // namespace kelvarion::platform
