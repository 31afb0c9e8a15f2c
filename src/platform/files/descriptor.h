// File descriptors that are owned, and the loops around reading and writing them.
#pragma once

#include <unistd.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

#include "platform/com/types.h"

namespace kelvarion::platform {

// Owns a file descriptor, or none (negative).
class Descriptor {
 public:
  explicit Descriptor(int value = -1) : value_(value) {}
  ~Descriptor() {
    if (value_ >= 0) close(value_);
  }
  Descriptor(Descriptor&& other) noexcept : value_(std::exchange(other.value_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(value_, other.value_);
    return *this;
  }
  explicit operator bool() const { return value_ >= 0; }
  int get() const { return value_; }
  int Release() { return std::exchange(value_, -1); }

 private:
  int value_;
};

// ERROR_PATH_NOT_FOUND for the empty path, ERROR_INVALID_NAME for one that cannot be a file's.
Win32Error ToNative(std::u16string_view path, std::string& out);

Win32Error WriteAll(int descriptor, const void* bytes, std::size_t size);
// Less than `size` only at the end of the file.
Win32Error ReadSome(int descriptor, void* buffer, std::size_t size, std::size_t& out);

}  // namespace kelvarion::platform
