// The certificate that a new server starts with.
#pragma once

#include <string>

namespace kelvarion::host {

// A fresh RSA key of 3072 bits and a certificate signed by itself for the server's name (UTF-8),
// localhost and the loopback addresses, valid for ten years from now: both as PEM, the key first.
// Throws SSLException.
std::string MakeInitialCertificate(const std::string& server_name);

}  // namespace kelvarion::host
