// Certificates that an administrator brings, as PEM text: the certificate, behind it whatever
// certificates of its chain there are, and a private key unless it was issued for the installed
// one.
#pragma once

#include <cstdint>
#include <string>

#include "certificate/install.h"
#include "context/server_context.h"

namespace kelvarion::certificate {

enum class KeyMatch : std::uint32_t {
  kInstalledKey = 0,
  kSuppliedKey = 1,
  kNone = 2,
};

// Whose key the certificate belongs to. Throws SSLException for a text without a readable
// certificate or with a damaged key, SimpleException for an encrypted one.
KeyMatch ValidateCertificate(const ServerContext& context, const std::u16string& text);

// Installs it, with the supplied key when it belongs to that one, and reports on its chain. Throws
// as ValidateCertificate and Install do, and SimpleException when it belongs to neither key; then
// nothing is changed.
ChainReport ImportCertificate(const ServerContext& context, const std::u16string& text);

}  // namespace kelvarion::certificate
