#include "platform/files/file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "platform/files/descriptor.h"
#include "platform/files/files.h"

namespace kelvarion::platform {

File::~File() {
  if (descriptor_ >= 0) close(descriptor_);
}

File::File(File&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}

File& File::operator=(File&& other) noexcept {
  std::swap(descriptor_, other.descriptor_);
  return *this;
}

Win32Error File::Open(const std::u16string& path, Mode mode, File& out) {
  std::string native;
  if (const Win32Error error = ToNative(path, native)) return error;
  const int flags = O_RDWR | O_CLOEXEC | (mode == Mode::kCreate ? O_CREAT | O_TRUNC : 0);
  Descriptor descriptor(open(native.c_str(), flags, 0600));
  if (!descriptor) return FromErrno(errno);
  File file;
  file.descriptor_ = descriptor.Release();
  out = std::move(file);
  return ERROR_SUCCESS;
}

Win32Error File::Read(void* buffer, std::size_t size, std::size_t& read) {
  return ReadSome(descriptor_, buffer, size, read);
}

Win32Error File::Write(const void* bytes, std::size_t size) {
  return WriteAll(descriptor_, bytes, size);
}

Win32Error File::Flush() { return fsync(descriptor_) == 0 ? ERROR_SUCCESS : FromErrno(errno); }

Win32Error File::Rewind() {
  return lseek(descriptor_, 0, SEEK_SET) == 0 ? ERROR_SUCCESS : FromErrno(errno);
}

}  // namespace kelvarion::platform
