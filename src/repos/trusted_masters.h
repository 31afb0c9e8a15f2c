// Whom the slaves of this server may follow, as clients say it. What is stored is in ormu/trust.h.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "context/server_context.h"
#include "ormu/trust.h"

namespace kelvarion::repos {

struct TrustRequest {
  std::u16string server;                 // host[:port]
  std::optional<std::u16string> scheme;  // https without one. Not together with `url`.
  std::optional<std::u16string> url;
  std::u16string account;   // May be empty.
  std::u16string password;  // Only for an account.
  std::u16string
      certificate_sha256;  // Hex digits in either case, with or without colons; or empty.
};

// Throws WMIException WBEM_E_INVALID_METHOD_PARAMETERS for what cannot be meant, else as
// ormu::TrustMaster does. Warns of a password that anybody on the way could read.
void TrustMaster(const ServerContext& context, const TrustRequest& request,
                 const std::function<void(const std::u16string& text)>& warn);

// As ormu::FetchCertificate; a server that cannot be reached is explained as a failed request is.
ormu::ServerCertificate FetchCertificate(const std::u16string& server);

}  // namespace kelvarion::repos
