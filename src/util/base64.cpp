#include "util/base64.h"

#include "errors/exception.h"

namespace kelvarion::util {

std::string DecodeBase64(const std::u16string& text) {
  std::string bytes;
  if (const Win32Error error = platform::DecodeBase64WithHeader(text, bytes))
    throw Win32Exception(error, u"Cannot decode base64 data");
  return bytes;
}

std::u16string EncodeBase64(std::string_view bytes, platform::Base64Format format) {
  std::u16string text;
  if (const Win32Error error = platform::EncodeBase64(bytes, format, text))
    throw Win32Exception(error, u"Cannot encode base64 data");
  return text;
}

platform::Certificate CreateCertificateContext(const std::u16string& text) {
  std::string der;
  platform::Certificate certificate;
  Win32Error error = platform::DecodeBase64WithHeader(text, der);
  if (error == ERROR_SUCCESS) error = platform::ReadDerCertificate(der, certificate);
  if (error) throw Win32Exception(error, u"Cannot create certificate context");
  return certificate;
}

}  // namespace kelvarion::util
