#include "platform/files/file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "platform/files/files.h"

namespace kelvarion::platform {

Win32Error File::Open(const std::u16string& path, Mode mode, File& out) {
  std::string native;
  if (const Win32Error error = ToNative(path, native)) return error;
  const int flags = O_RDWR | O_CLOEXEC | (mode == Mode::kCreate ? O_CREAT | O_TRUNC : 0);
  Descriptor descriptor(open(native.c_str(), flags, 0600));
  if (!descriptor) return FromErrno(errno);
  out.descriptor_ = std::move(descriptor);
  return ERROR_SUCCESS;
}

Win32Error File::Read(void* buffer, std::size_t size, std::size_t& read) {
  return ReadSome(descriptor_.get(), buffer, size, read);
}

Win32Error File::Write(const void* bytes, std::size_t size) {
  return WriteAll(descriptor_.get(), bytes, size);
}

Win32Error File::Flush() {
  return fsync(descriptor_.get()) == 0 ? ERROR_SUCCESS : FromErrno(errno);
}

}  // namespace kelvarion::platform
