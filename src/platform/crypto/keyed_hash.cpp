#include "platform/crypto/keyed_hash.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/rand.h>

#include <cstdint>
#include <stdexcept>

namespace kelvarion::platform {

KeyedHash::KeyedHash() {
  if (RAND_bytes(key_.data(), static_cast<int>(key_.size())) != 1)
    throw std::runtime_error("There are no random numbers.");
}

KeyedHash::~KeyedHash() { OPENSSL_cleanse(key_.data(), key_.size()); }

std::string KeyedHash::Of(std::initializer_list<std::string_view> parts) const {
  std::string text;
  for (const std::string_view part : parts) {
    const std::uint64_t size = part.size();
    text.append(reinterpret_cast<const char*>(&size), sizeof size).append(part);
  }
  std::string hash(32, '\0');
  HMAC(EVP_sha256(), key_.data(), static_cast<int>(key_.size()),
       reinterpret_cast<const unsigned char*>(text.data()), text.size(),
       reinterpret_cast<unsigned char*>(hash.data()), nullptr);
  OPENSSL_cleanse(text.data(), text.size());
  return hash;
}

}  // namespace kelvarion::platform
