// How things stand with a certificate: how long it lasts, whether its key is there and who vouches
// for it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "certificate/certificate_info.h"
#include "certificate/supplied_certificate.h"

namespace kelvarion::certificate {

struct CertificateState {
  CertificateInfo info;
  std::vector<std::u16string> alternative_names;  // DNS names and IP addresses.
  std::u16string fingerprint;                     // SHA-256, as browsers show it.
  std::u16string key;                             // "RSA 3072".
  // Whole days until it expires, negative once it has; nothing when it does not say.
  std::optional<std::int64_t> days_left;
  bool is_valid_yet = true;
  KeyMatch match = KeyMatch::kNone;
  ChainReport chain;
};

// What the elements are called, the server's own first: by their common names, or by what there is
// instead of one.
std::vector<std::u16string> ElementNames(const ChainReport& chain);

// Of the installed files. The chain is what clients get to see: one that only this machine's store
// completes, since certchain.pem lacks intermediates, is incomplete; one of which certchain.pem has
// all but a root that this machine does not know is complete. A key that cannot be read counts as
// none. Throws as GetCertificateInfo does.
CertificateState GetInstalledState(const ServerContext& context);

// What an import of the text would install. Throws as ValidateCertificate does.
CertificateState GetSuppliedState(const ServerContext& context, const std::u16string& text);

}  // namespace kelvarion::certificate
