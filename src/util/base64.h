// Certificates and keys as text with header lines.
#pragma once

#include <string>
#include <string_view>

#include "platform/crypto/base64.h"
#include "platform/crypto/certificate.h"

namespace kelvarion::util {

// The bytes of the first block between header lines. Fails with Win32Exception
// "Cannot decode base64 data".
std::string DecodeBase64(const std::u16string& text);

// Lines end with a line feed alone. Fails with Win32Exception "Cannot encode base64 data".
std::u16string EncodeBase64(std::string_view bytes, platform::Base64Format format);

// The certificate in the first block between header lines. Fails with Win32Exception
// "Cannot create certificate context".
platform::Certificate CreateCertificateContext(const std::u16string& text);

}  // namespace kelvarion::util
