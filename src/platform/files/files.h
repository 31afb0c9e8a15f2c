// Files and folders. Paths take either separator ("\" is mapped to "/"); "/x" is absolute.
//
// Failures are Win32 error codes. Nothing here keeps state; safe from any thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/com/types.h"

namespace kelvarion::platform {

inline constexpr std::uint32_t FILE_ATTRIBUTE_READONLY = 0x1;
inline constexpr std::uint32_t FILE_ATTRIBUTE_HIDDEN = 0x2;
inline constexpr std::uint32_t FILE_ATTRIBUTE_DIRECTORY = 0x10;
inline constexpr std::uint32_t FILE_ATTRIBUTE_NORMAL = 0x80;
inline constexpr std::uint32_t FILE_SUPPORTS_TRANSACTIONS = 0x00200000;

struct VolumeInfo {
  std::u16string file_system;  // "ext4"
  std::uint32_t flags = 0;
  bool remote = false;  // A network drive.
  std::uint64_t bytes_free = 0;
};

// The path as the operating system takes it, UTF-8; empty when the text is not valid UTF-16 or
// holds a NUL, which no file can be named by.
std::string NativePath(std::u16string_view path);
std::u16string PathFromNative(std::string_view path);

Win32Error FromErrno(int error);

Win32Error GetFileAttributes(const std::u16string& path, std::uint32_t& out);
Win32Error GetVolumeInformation(const std::u16string& path, VolumeInfo& out);

// A folder whose files are kept in memory, where everybody may make folders; empty without one.
std::u16string MemoryFolder();
// Everything written so far to the file system that the path lies on is on the disk on return.
Win32Error FlushVolume(const std::u16string& path);

// Who may use a file that did not exist before.
enum class NewFile {
  kAsFolderSays,  // The folder's default access list, else 0666 less the umask.
  kPrivate,       // The owner alone, 0600.
  // The owner and whomever the folder's default access list names; 0600 where it has none. Holds
  // for a file moved into its place: one that is created is private.
  kOwnerAndFolder,
  kEverybodyReads,  // 0644, whatever the umask, for a file moved into its place.
};

// Creates the file or empties it and writes all bytes; an existing file keeps its mode. On failure
// `created` tells whether it was opened for writing.
Win32Error CreateAndWriteFile(const std::u16string& path, std::string_view bytes, NewFile access,
                              bool& created);
Win32Error ReadWholeFile(const std::u16string& path, std::string& out);
// Moves a file over another one of the same folder. The target's mode, owner (as far as the process
// may give files away) and access list are given to the new file first, so a replaced file keeps
// them; `access` is for a target that does not exist.
Win32Error MoveFileReplacing(const std::u16string& from, const std::u16string& to, NewFile access);
Win32Error DeleteFile(const std::u16string& path);
Win32Error CreateDirectories(const std::u16string& path);

enum class IfLocked { kWait, kGiveUp };

// Holds an exclusive lock on a file until destroyed, made when missing, for its owner and whomever
// the folder's default access list names; waits for it, or else Error() is ERROR_SHARING_VIOLATION
// while another one holds it. The lock stands between threads as well as processes, and once it is
// held the path names the locked file, so the holder may rename or delete it as the last thing done
// under the lock. A symbolic link is not followed. Error() is ERROR_SUCCESS when it is held.
class FileLock {
 public:
  explicit FileLock(const std::u16string& path, IfLocked if_locked = IfLocked::kWait);
  ~FileLock();
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;
  Win32Error Error() const { return error_; }

 private:
  int descriptor_ = -1;
  Win32Error error_ = 0;
};

}  // namespace kelvarion::platform
