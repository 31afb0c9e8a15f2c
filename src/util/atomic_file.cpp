#include "util/atomic_file.h"

#include "errors/exception.h"

namespace kelvarion::util {
namespace {

[[noreturn]] void CannotCreate(Win32Error error, const std::u16string& path) {
  throw ComException(HresultFromWin32(error), u"Cannot create file '%s'", path);
}

void WriteFile(const std::u16string& path, std::string_view bytes, NewFile access) {
  bool created = false;
  const Win32Error error = platform::CreateAndWriteFile(path, bytes, access, created);
  if (error == ERROR_SUCCESS) return;
  if (!created) CannotCreate(error, path);
  throw ComException(HresultFromWin32(error), u"Cannot write to file '%s'", path);
}

}  // namespace

void WriteWholeFile(const std::u16string& path, std::string_view bytes) {
  WriteFile(path, bytes, NewFile::kAsFolderSays);
}

void WriteFileAtomically(const std::u16string& path, std::string_view bytes, NewFile access) {
  const std::u16string temporary = Format(u"%s.tmp", path);
  // The lock is on the temporary file itself: it leaves with the file, and whoever waited for it
  // begins with a new one. Nothing is left lying about.
  const platform::FileLock lock(temporary);
  if (lock.Error() != ERROR_SUCCESS) CannotCreate(lock.Error(), temporary);
  try {
    WriteFile(temporary, bytes, NewFile::kPrivate);
    if (const Win32Error error = platform::MoveFileReplacing(temporary, path, access))
      throw Win32Exception(error, u"Cannot write file '%s'", path);
  } catch (const Exception&) {
    platform::DeleteFile(temporary);
    throw;
  }
}

std::string ReadWholeFile(const std::u16string& path) {
  std::string bytes;
  if (const Win32Error error = platform::ReadWholeFile(path, bytes))
    throw Win32Exception(error, u"Cannot read file '%s'", path);
  return bytes;
}

}  // namespace kelvarion::util
