#include "platform/files/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "platform/files/descriptor.h"
#include "platform/text/encoding.h"

namespace kelvarion::platform {

std::string NativePath(std::u16string_view path) {
  std::string native;
  if (!Utf16ToUtf8(path, native) || native.find('\0') != std::string::npos) return "";
  std::replace(native.begin(), native.end(), '\\', '/');
  return native;
}

std::u16string PathFromNative(std::string_view path) { return Utf16ForDisplay(path); }

Win32Error FromErrno(int error) {
  switch (error) {
    case 0:
      return ERROR_SUCCESS;
    case ENOENT:
      return ERROR_FILE_NOT_FOUND;
    case ENOTDIR:
      return ERROR_PATH_NOT_FOUND;
    case EACCES:
    case EPERM:
    case EISDIR:
      return ERROR_ACCESS_DENIED;
    case EBADF:
      return ERROR_INVALID_HANDLE;
    case ENOMEM:
      return ERROR_NOT_ENOUGH_MEMORY;
    case EROFS:
      return ERROR_WRITE_PROTECT;
    case EBUSY:
    case ETXTBSY:
      return ERROR_SHARING_VIOLATION;
    case ENOTSUP:
    case ENOSYS:
      return ERROR_NOT_SUPPORTED;
    case EEXIST:
      return ERROR_ALREADY_EXISTS;
    case EINVAL:
      return ERROR_INVALID_PARAMETER;
    case EMFILE:
    case ENFILE:
      return ERROR_OPEN_FAILED;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
      return ERROR_DISK_FULL;
    case ENOTEMPTY:
      return ERROR_DIR_NOT_EMPTY;
    case ENAMETOOLONG:
      return ERROR_FILENAME_EXCED_RANGE;
    case ELOOP:
      return ERROR_CANT_RESOLVE_FILENAME;
    case EILSEQ:
      return ERROR_INVALID_NAME;
    case EADDRINUSE:
      return WSAEADDRINUSE;
    case EADDRNOTAVAIL:
      return WSAEADDRNOTAVAIL;
    default:
      return ERROR_GEN_FAILURE;
  }
}

Win32Error ToNative(std::u16string_view path, std::string& out) {
  if (path.empty()) return ERROR_PATH_NOT_FOUND;
  out = NativePath(path);
  return out.empty() ? ERROR_INVALID_NAME : ERROR_SUCCESS;
}

Win32Error GetFileAttributes(const std::u16string& path, std::uint32_t& out) {
  std::string native;
  if (const Win32Error error = ToNative(path, native)) return error;
  struct stat status {};
  if (stat(native.c_str(), &status) != 0) return FromErrno(errno);
  std::uint32_t attributes = 0;
  if (S_ISDIR(status.st_mode))
    attributes |= FILE_ATTRIBUTE_DIRECTORY;
  else if ((status.st_mode & 0222) == 0)
    attributes |= FILE_ATTRIBUTE_READONLY;
  const std::string name = native.substr(native.find_last_of('/') + 1);
  if (name.size() > 1 && name[0] == '.' && name != "..") attributes |= FILE_ATTRIBUTE_HIDDEN;
  out = attributes ? attributes : FILE_ATTRIBUTE_NORMAL;
  return ERROR_SUCCESS;
}

Win32Error WriteAll(int descriptor, const void* bytes, std::size_t size) {
  const char* at = static_cast<const char*>(bytes);
  while (size > 0) {
    const ssize_t written = write(descriptor, at, size);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return FromErrno(errno);
    if (written == 0) return ERROR_WRITE_FAULT;
    at += written;
    size -= static_cast<std::size_t>(written);
  }
  return ERROR_SUCCESS;
}

Win32Error ReadSome(int descriptor, void* buffer, std::size_t size, std::size_t& out) {
  char* const at = static_cast<char*>(buffer);
  out = 0;
  while (out < size) {
    const ssize_t got = read(descriptor, at + out, size - out);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return FromErrno(errno);
    if (got == 0) break;
    out += static_cast<std::size_t>(got);
  }
  return ERROR_SUCCESS;
}

Win32Error CreateAndWriteFile(const std::u16string& path, std::string_view bytes, NewFile access,
                              bool& created) {
  created = false;
  std::string native;
  if (const Win32Error error = ToNative(path, native)) return error;
  // A private file is not written through a link that somebody else may have put there.
  const int flags = O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC |
                    (access == NewFile::kAsFolderSays ? 0 : O_NOFOLLOW);
  const Descriptor file(
      open(native.c_str(), flags, access == NewFile::kAsFolderSays ? 0666 : 0600));
  if (!file) return FromErrno(errno);
  created = true;
  return WriteAll(file.get(), bytes.data(), bytes.size());
}

Win32Error ReadWholeFile(const std::u16string& path, std::string& out) {
  out.clear();
  std::string native;
  if (const Win32Error error = ToNative(path, native)) return error;
  const Descriptor file(open(native.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file) return FromErrno(errno);
  struct stat status {};
  if (fstat(file.get(), &status) != 0) return FromErrno(errno);
  if (S_ISDIR(status.st_mode)) return ERROR_ACCESS_DENIED;
  // One byte more than the size, so that the end is seen by the first read.
  std::string bytes;
  std::size_t filled = 0;
  std::size_t capacity = static_cast<std::size_t>(status.st_size) + 1;
  while (filled == bytes.size()) {
    bytes.resize(filled + capacity);
    std::size_t got = 0;
    if (const Win32Error error = ReadSome(file.get(), bytes.data() + filled, capacity, got))
      return error;
    filled += got;
    capacity = std::max<std::size_t>(bytes.size(), 4096);
  }
  bytes.resize(filled);
  out = std::move(bytes);
  return ERROR_SUCCESS;
}

Win32Error DeleteFile(const std::u16string& path) {
  std::string native;
  if (const Win32Error error = ToNative(path, native)) return error;
  return unlink(native.c_str()) == 0 ? ERROR_SUCCESS : FromErrno(errno);
}

Win32Error CreateDirectories(const std::u16string& path) {
  std::string native;
  if (const Win32Error error = ToNative(path, native)) return error;
  for (std::size_t end = 0; end != std::string::npos;) {
    end = native.find('/', end + 1);
    const std::string part = native.substr(0, end);
    if (mkdir(part.c_str(), 0777) == 0 || errno == EEXIST) continue;
    // An ancestor that exists may refuse new folders for another reason than being there.
    const int reason = errno;
    struct stat status {};
    if (stat(part.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) return FromErrno(reason);
  }
  struct stat status {};
  if (stat(native.c_str(), &status) != 0) return FromErrno(errno);
  return S_ISDIR(status.st_mode) ? ERROR_SUCCESS : ERROR_DIRECTORY;
}

}  // namespace kelvarion::platform
