#include "platform/files/copy_file.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <memory>

#include "platform/files/descriptor.h"
#include "platform/files/files.h"

namespace kelvarion::platform {
namespace {

constexpr std::size_t kPiece = 256 * 1024;
constexpr mode_t kPermissions = 0777;

Win32Error CopyBytes(const Descriptor& source, const Descriptor& target, off_t size,
                     const std::function<void()>& each) {
  // Kept by the thread: most files are much smaller than a piece, and there are many.
  thread_local const auto buffer = std::make_unique<char[]>(kPiece);
  for (auto left = static_cast<std::uint64_t>(size); left > 0;) {
    each();
    std::size_t got = 0;
    const std::size_t wanted = std::min<std::uint64_t>(left, kPiece);
    if (const Win32Error error = ReadSome(source.get(), buffer.get(), wanted, got)) return error;
    if (const Win32Error error = WriteAll(target.get(), buffer.get(), got)) return error;
    if (got < wanted) return ERROR_HANDLE_EOF;
    left -= got;
  }
  return ERROR_SUCCESS;
}

}  // namespace

Win32Error CopyFile(const std::u16string& from, const std::u16string& to,
                    const std::function<void()>& each) {
  std::string native;
  if (const Win32Error error = ToNative(from, native)) return error;
  const Descriptor source(open(native.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  struct stat status {};
  if (!source || fstat(source.get(), &status) != 0) return FromErrno(errno);
  if (!S_ISREG(status.st_mode)) return ERROR_INVALID_NAME;
  if (const Win32Error error = ToNative(to, native)) return error;
  const Descriptor target(
      open(native.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, status.st_mode & kPermissions));
  if (!target) return FromErrno(errno);
  if (const Win32Error error = CopyBytes(source, target, status.st_size, each)) return error;
  const timespec times[] = {status.st_atim, status.st_mtim};
  return futimens(target.get(), times) == 0 ? ERROR_SUCCESS : FromErrno(errno);
}

}  // namespace kelvarion::platform
