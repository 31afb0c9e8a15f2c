// From a server's certificate to the authority that vouches for it.
#pragma once

#include <vector>

#include "platform/crypto/certificate.h"

namespace kelvarion::platform {

struct CertificateChain {
  // The server's own certificate first, then always the issuer of the one before, as far as known.
  std::vector<Certificate> elements;
  bool partial = true;  // It ends before a certificate that is issued by itself.
  // It serves to authenticate a server. A root that nobody trusts, names, dates and revocation do
  // not count.
  bool good = false;
  bool root_trusted = false;  // The machine's store has the root.
  bool valid_now = false;     // None of the elements has expired or is yet to begin.
  std::u16string problem;     // Why it is not good, in OpenSSL's words.
};

// Looks for issuers among the candidates and in the machine's store: /etc/ssl/certs, or where
// SSL_CERT_DIR and SSL_CERT_FILE say. ERROR_GEN_FAILURE or ERROR_NOT_ENOUGH_MEMORY when it could
// not so much as look.
Win32Error BuildServerChain(const Certificate& certificate,
                            const std::vector<Certificate>& candidates, CertificateChain& out);

}  // namespace kelvarion::platform
