// An open file that is read and written piece by piece.
#pragma once

#include <cstddef>
#include <string>

#include "platform/files/descriptor.h"

namespace kelvarion::platform {

// Owns the descriptor, which programs that this process starts do not inherit. Move-only; one
// thread at a time. Failures are Win32 error codes.
class File {
 public:
  enum class Mode {
    kCreate,        // New and for its owner only, or emptied.
    kOpenExisting,  // Read and write from the start.
  };

  static Win32Error Open(const std::u16string& path, Mode mode, File& out);

  // Fewer bytes than asked for only at the end of the file.
  Win32Error Read(void* buffer, std::size_t size, std::size_t& read);
  Win32Error Write(const void* bytes, std::size_t size);
  // What was written is on the disk when it returns.
  Win32Error Flush();

 private:
  Descriptor descriptor_;
};

}  // namespace kelvarion::platform
