// The certificate that a server shows who connects to it with TLS.
#pragma once

#include <string>

#include "platform/com/types.h"

namespace kelvarion::platform {

// Texts are UTF-8.
struct PeerCertificate {
  std::string sha256;  // Of its DER form, in lower-case hex digits.
  std::string subject;
  std::string issuer;
  std::string valid_until;
  // The chain leads to an authority that this machine trusts, and Subversion's client finds the
  // server's name in it; an address only where a DNS name says the same.
  bool vouched_for = false;
};

// Connects, looks and leaves; whether the certificate is to be trusted is the caller's to judge.
// RPC_S_SERVER_UNAVAILABLE when nobody answers within some seconds, ERROR_INVALID_DATA when the
// answer is not TLS; `reason` says more. `host` is a name or an address, without brackets.
Win32Error FetchPeerCertificate(const std::string& host, const std::string& port,
                                PeerCertificate& out, std::string& reason);

}  // namespace kelvarion::platform
