// Putting a certificate and its key into the web server's place.
#pragma once

#include <string>
#include <vector>

#include "certificate/certificate_files.h"
#include "platform/crypto/certificate_chain.h"

namespace kelvarion::certificate {

enum class ChainState {
  kSelfSigned,  // There is nobody else to vouch for it.
  kComplete,    // Up to a root.
  kIncomplete,  // The certificate of an issuer is not to be found.
  kUnsuitable,  // Complete, but not good for a server: a wrong usage, say, or a false signature.
};

struct ChainReport {
  ChainState state = ChainState::kIncomplete;
  bool root_trusted = false;  // The machine itself trusts it.
  bool valid_now = false;     // None of the elements has expired or is yet to begin.
  std::u16string problem;     // In OpenSSL's words, unless it is complete.
  std::vector<platform::Certificate> elements;  // As far as known, the server's own first.

  // Between the server's own certificate and the root; none unless the chain is complete.
  std::vector<platform::Certificate> Intermediates() const;
};

// Throws Win32Exception "Cannot get certificate chain".
ChainReport ExamineChain(const platform::Certificate& certificate,
                         const std::vector<platform::Certificate>& candidates);

// Issuers are looked for among the candidates and in the machine's store. A chain that cannot be
// completed does not keep the certificate from being installed: then the chain file has none.
// Throws SSLException when the web server could not serve with the two, and as ReplaceFiles does.
// Needs the CertificateLock.
ChainReport Install(const CertificatePaths& paths, const platform::Certificate& certificate,
                    const platform::PrivateKey& key,
                    const std::vector<platform::Certificate>& candidates);

}  // namespace kelvarion::certificate
