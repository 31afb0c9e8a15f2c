// Binary data as base64 text with and without header lines.
#pragma once

#include <string>
#include <string_view>

#include "platform/com/types.h"

namespace kelvarion::platform {

enum class Base64Format {
  kCertificate,  // -----BEGIN CERTIFICATE-----
  kPlain,        // No header lines.
};

// The bytes of the first block between a "-----BEGIN …-----" line and an "-----END …-----" line,
// whatever stands in the lines, before and after. ERROR_INVALID_DATA for anything else; `out` is
// then untouched.
Win32Error DecodeBase64WithHeader(std::u16string_view text, std::string& out);

// Lines of 64 characters that end with a line feed alone.
Win32Error EncodeBase64(std::string_view bytes, Base64Format format, std::u16string& out);

}  // namespace kelvarion::platform
