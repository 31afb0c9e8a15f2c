// Whether TLS works with a certificate, before anybody depends on it.
#pragma once

#include <vector>

#include "platform/crypto/certificate.h"

namespace kelvarion::platform {

// A server with this identity and a client that trusts everybody shake hands in memory, in the
// newest version that the web server speaks. Fails for keys that are too short and signatures that
// are too weak for this machine, and for a usage that leaves the server without any cipher.
SslError TryHandshake(const PrivateKey& key, const Certificate& certificate,
                      const std::vector<Certificate>& intermediates);

}  // namespace kelvarion::platform
