#include "platform/event_log/log_files.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include "platform/files/files.h"

namespace kelvarion::platform {
namespace {

Descriptor OpenForAppending(const std::string& path) {
  return Descriptor(open(path.c_str(), O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
}

// Writing says what is missing in other words than opening for reading does.
Win32Error FromWriteErrno(int error) {
  switch (error) {
    case ENOENT:
    case ENOTDIR:
      return ERROR_PATH_NOT_FOUND;
    case EACCES:
    case EPERM:
    case EROFS:
      return ERROR_ACCESS_DENIED;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
      return ERROR_DISK_FULL;
    default:
      return ERROR_WRITE_FAULT;
  }
}

off_t SizeOf(const Descriptor& file) {
  struct stat status {};
  return fstat(file.get(), &status) == 0 ? status.st_size : 0;
}

// A writer that was killed may have left the beginning of a record.
bool EndsWithinALine(const Descriptor& file, off_t size) {
  char last = '\n';
  return size > 0 && pread(file.get(), &last, 1, size - 1) == 1 && last != '\n';
}

}  // namespace

LogFile::LogFile(const std::string& path)
    : descriptor_(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW)) {}

bool LogFile::IsNamed(const std::string& path) const {
  struct stat named {};
  struct stat opened {};
  if (lstat(path.c_str(), &named) != 0) return !descriptor_;
  return descriptor_ && fstat(descriptor_.get(), &opened) == 0 && named.st_dev == opened.st_dev &&
         named.st_ino == opened.st_ino;
}

// A hash of how the first line begins: the moment at which it was written, to the microsecond.
std::uint64_t LogFile::Identity() const {
  char start[64];
  const ssize_t length = descriptor_ ? pread(descriptor_.get(), start, sizeof start, 0) : 0;
  std::uint64_t hash = 0xCBF29CE484222325;
  for (ssize_t i = 0; i < length && start[i] != '\n'; ++i)
    hash = (hash ^ static_cast<unsigned char>(start[i])) * 0x100000001B3;
  return length > 0 ? hash | 1 : 0;
}

std::uint64_t LogFile::ReadLines(std::uint64_t offset,
                                 const std::function<void(const std::string&)>& visit) const {
  // What writers add meanwhile is for the next time: else a reader might never come to the end.
  const auto end = static_cast<std::uint64_t>(SizeOf(descriptor_));
  std::uint64_t position = offset;
  std::string line;
  char chunk[65536];
  while (position < end) {
    const std::size_t wanted = std::min<std::uint64_t>(sizeof chunk, end - position);
    const ssize_t got = pread(descriptor_.get(), chunk, wanted, static_cast<off_t>(position));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    position += static_cast<std::uint64_t>(got);
    for (ssize_t i = 0; i < got; ++i) {
      if (chunk[i] != '\n') {
        line.push_back(chunk[i]);
        continue;
      }
      offset += line.size() + 1;
      visit(line);
      line.clear();
    }
  }
  return offset;
}

LogFiles OpenLogFiles(const std::string& current, const std::string& older) {
  for (;;) {
    LogFiles files{LogFile(current), LogFile(older)};
    // Otherwise the log went on in a new file between the two.
    if (files.current.IsNamed(current)) return files;
  }
}

Win32Error AppendLine(const std::string& current, const std::string& older, std::string line,
                      std::uint64_t max_size, bool alone) {
  Descriptor file = OpenForAppending(current);
  if (!file) return FromWriteErrno(errno);
  off_t size = SizeOf(file);
  if (alone && size > 0 && static_cast<std::uint64_t>(size) + line.size() > max_size &&
      std::rename(current.c_str(), older.c_str()) == 0) {
    file = OpenForAppending(current);
    if (!file) return FromWriteErrno(errno);
    size = 0;
  }
  if (alone && EndsWithinALine(file, size)) line.insert(0, 1, '\n');
  ssize_t written = 0;
  do written = write(file.get(), line.data(), line.size());
  while (written < 0 && errno == EINTR);
  if (written == static_cast<ssize_t>(line.size())) return ERROR_SUCCESS;
  const int error = written < 0 ? errno : ENOSPC;
  // What did not fit is of no use to anybody.
  if (alone && written > 0 && ftruncate(file.get(), size) != 0) return ERROR_DISK_FULL;
  return FromWriteErrno(error);
}

}  // namespace kelvarion::platform
