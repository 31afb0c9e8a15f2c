#include "platform/crypto/base64.h"

#include <openssl/evp.h>

#include <climits>
#include <memory>

namespace kelvarion::platform {
namespace {

constexpr std::size_t kLineLength = 64;
constexpr std::u16string_view kBegin = u"-----BEGIN ";
constexpr std::u16string_view kEnd = u"-----END ";

// The line that starts at `at`, without its end; `at` moves to the next one.
std::u16string_view NextLine(std::u16string_view text, std::size_t& at) {
  const std::size_t end = std::min(text.find(u'\n', at), text.size());
  std::u16string_view line = text.substr(at, end - at);
  if (line.ends_with(u'\r')) line.remove_suffix(1);
  at = std::min(end + 1, text.size());
  return line;
}

// The characters of the block without blanks; false when there is no whole block or it holds what
// cannot be base64.
bool FindBlock(std::u16string_view text, std::string& out) {
  bool inside = false;
  for (std::size_t at = 0; at < text.size();) {
    const std::u16string_view line = NextLine(text, at);
    if (!inside) {
      inside = line.starts_with(kBegin);
    } else if (line.starts_with(kEnd)) {
      return true;
    } else {
      for (const char16_t c : line) {
        if (c == u' ' || c == u'\t') continue;
        if (c >= 0x80) return false;
        out.push_back(static_cast<char>(c));
      }
    }
  }
  return false;
}

bool Decode(const std::string& digits, std::string& out) {
  if (digits.size() % 4 != 0 || digits.size() > INT_MAX) return false;
  const std::size_t first_pad = digits.find('=');
  const std::size_t padding = first_pad == std::string::npos ? 0 : digits.size() - first_pad;
  // OpenSSL takes "=" anywhere for a zero.
  if (padding > 2 || (padding == 2 && digits.back() != '=')) return false;
  std::string bytes(digits.size() / 4 * 3, '\0');
  const int length = EVP_DecodeBlock(reinterpret_cast<unsigned char*>(bytes.data()),
                                     reinterpret_cast<const unsigned char*>(digits.data()),
                                     static_cast<int>(digits.size()));
  if (length < 0) return false;
  bytes.resize(static_cast<std::size_t>(length) - padding);
  out = std::move(bytes);
  return true;
}

}  // namespace

Win32Error DecodeBase64WithHeader(std::u16string_view text, std::string& out) {
  std::string digits;
  return FindBlock(text, digits) && Decode(digits, out) ? ERROR_SUCCESS : ERROR_INVALID_DATA;
}

Win32Error EncodeBase64(std::string_view bytes, Base64Format format, std::u16string& out) {
  if (bytes.size() > INT_MAX / 2) return ERROR_INVALID_PARAMETER;
  // OpenSSL ends its output with a NUL.
  std::string digits((bytes.size() + 2) / 3 * 4 + 1, '\0');
  EVP_EncodeBlock(reinterpret_cast<unsigned char*>(digits.data()),
                  reinterpret_cast<const unsigned char*>(bytes.data()),
                  static_cast<int>(bytes.size()));
  digits.pop_back();
  std::u16string text;
  if (format == Base64Format::kCertificate) text += u"-----BEGIN CERTIFICATE-----\n";
  for (std::size_t at = 0; at < digits.size(); at += kLineLength) {
    const std::string line = digits.substr(at, kLineLength);
    text.append(line.begin(), line.end()).push_back(u'\n');
  }
  if (format == Base64Format::kCertificate) text += u"-----END CERTIFICATE-----\n";
  out = std::move(text);
  return ERROR_SUCCESS;
}

}  // namespace kelvarion::platform
