// How failures of OpenSSL become exceptions.
#pragma once

#include <string>

#include "errors/exception.h"
#include "platform/crypto/ssl_error.h"

namespace kelvarion::certificate {

// Throws SSLException: what could not be done, and OpenSSL's reasons.
inline void Require(const platform::SslError& error, const std::u16string& what) {
  if (error) throw SSLException(error.reasons.empty() ? what : what + u": " + error.reasons);
}

}  // namespace kelvarion::certificate
