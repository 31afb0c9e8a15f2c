#include "platform/crypto/ssl_error.h"

#include <openssl/err.h>

#include "platform/text/encoding.h"

namespace kelvarion::platform {

SslError TakeSslError() {
  std::string reasons;
  const char* data = nullptr;
  int flags = 0;
  while (const unsigned long code = ERR_get_error_all(nullptr, nullptr, nullptr, &data, &flags)) {
    char text[256];
    ERR_error_string_n(code, text, sizeof text);
    if (!reasons.empty()) reasons += "; ";
    reasons += text;
    if ((flags & ERR_TXT_STRING) != 0 && data && *data) reasons += std::string(" (") + data + ")";
  }
  return {true, Utf16ForDisplay(reasons)};
}

}  // namespace kelvarion::platform
