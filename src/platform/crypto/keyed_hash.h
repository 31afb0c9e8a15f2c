// Hashes that nobody can compute or recognise who does not have the key: HMAC-SHA-256 with a random
// key that never leaves the object.
#pragma once

#include <array>
#include <initializer_list>
#include <string>
#include <string_view>

namespace kelvarion::platform {

class KeyedHash {
 public:
  // Throws std::runtime_error where no random numbers are to be had.
  KeyedHash();
  ~KeyedHash();
  KeyedHash(const KeyedHash&) = delete;
  KeyedHash& operator=(const KeyedHash&) = delete;

  // 32 bytes. Other parts give another hash, also where they read the same when joined.
  std::string Of(std::initializer_list<std::string_view> parts) const;

 private:
  std::array<unsigned char, 32> key_;
};

}  // namespace kelvarion::platform
