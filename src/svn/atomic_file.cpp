#include "svn/atomic_file.h"

#include <apr_file_io.h>
#include <svn_dirent_uri.h>
#include <svn_io.h>
#include <svn_string.h>

#include "svn/error.h"
#include "svn/text.h"

namespace kelvarion::svn {
namespace {

constexpr int kMostNames = 99999;

std::string AbsoluteDirent(const std::u16string& path, apr_pool_t* pool) {
  const char* absolute = nullptr;
  Check(svn_dirent_get_absolute(&absolute, DirentFromPath(path).c_str(), pool));
  return absolute;
}

// Whether the path still names the open file.
bool IsNamed(apr_file_t* file, const std::string& path, apr_pool_t* pool) {
  apr_finfo_t opened;
  apr_finfo_t named;
  return apr_file_info_get(&opened, APR_FINFO_IDENT, file) == APR_SUCCESS &&
         apr_stat(&named, path.c_str(), APR_FINFO_IDENT | APR_FINFO_LINK, pool) == APR_SUCCESS &&
         opened.inode == named.inode && opened.device == named.device;
}

// Whether the file, which a killed writer left, is gone now; one that is being written is not.
bool RemoveAbandoned(const std::string& path) {
  const std::u16string name = PathFromDirent(path);
  const platform::FileLock lock(name, platform::IfLocked::kGiveUp);
  return lock.Error() == ERROR_SUCCESS && platform::DeleteFile(name) == ERROR_SUCCESS;
}

}  // namespace

// The names are those of svn_io_open_unique_file2, whose files however anybody may read.
AtomicFileStream::AtomicFileStream(const std::u16string& path, platform::NewFile access,
                                   const Pool& parent)
    : pool_(parent), access_(access), target_(AbsoluteDirent(path, pool_)) {
  for (int i = 1; i <= kMostNames; ++i) {
    temporary_ = target_ + (i == 1 ? ".tmp" : "." + std::to_string(i) + ".tmp");
    do {
      if (MakeTemporary()) return;
    } while (RemoveAbandoned(temporary_));
  }
  ThrowAprError(APR_EEXIST, Format(u"Unable to make name for '%s'", path));
}

// A temporary file is locked by whoever writes it. False when there is one of that name, or when
// somebody took the new one for abandoned before it was locked.
bool AtomicFileStream::MakeTemporary() {
  const apr_status_t status =
      apr_file_open(&file_, temporary_.c_str(), APR_FOPEN_WRITE | APR_FOPEN_CREATE | APR_FOPEN_EXCL,
                    APR_FPROT_UREAD | APR_FPROT_UWRITE, pool_);
  if (APR_STATUS_IS_EEXIST(status)) return false;
  if (status != APR_SUCCESS)
    ThrowAprError(status, Format(u"Can't open '%s'", PathFromDirent(temporary_)));
  if (apr_file_lock(file_, APR_FLOCK_EXCLUSIVE | APR_FLOCK_NONBLOCK) == APR_SUCCESS &&
      IsNamed(file_, temporary_, pool_))
    return true;
  Ignore(svn_io_file_close(file_, pool_));  // Nothing was written.
  file_ = nullptr;
  return false;
}

AtomicFileStream::~AtomicFileStream() {
  if (finished_) return;
  if (!file_) return;
  // Whatever made the writer give up is what the caller hears about. The name goes while it is
  // still locked: afterwards it may be another writer's.
  Ignore(svn_io_remove_file2(temporary_.c_str(), TRUE, pool_));
  Ignore(svn_io_file_close(file_, pool_));
}

void AtomicFileStream::Write(std::string_view bytes) {
  Check(svn_io_file_write_full(file_, bytes.data(), bytes.size(), nullptr, pool_));
}

void AtomicFileStream::Close() {
  Check(svn_io_file_flush_to_disk(file_, pool_));
  const std::u16string from = PathFromDirent(temporary_);
  const std::u16string to = PathFromDirent(target_);
  // Still open, and so locked, until it has its name.
  if (const Win32Error error = platform::MoveFileReplacing(from, to, access_)) {
    ThrowSystemError(error, Format(u"Can't move '%s' to '%s'", from, to));
  }
  finished_ = true;
  svn_error_t* const closed = svn_io_file_close(file_, pool_);
  file_ = nullptr;
  Ignore(closed);  // Everything was on the disk before.
}

void ReplaceFile(const std::u16string& path, std::string_view bytes, platform::NewFile access,
                 const Pool& parent) {
  AtomicFileStream stream(path, access, parent);
  stream.Write(bytes);
  stream.Close();
}

std::optional<std::string> ReadFileIfPresent(const std::u16string& path, const Pool& parent) {
  const Pool pool(parent);
  svn_stringbuf_t* text = nullptr;
  svn_error_t* const error = svn_stringbuf_from_file2(&text, DirentFromPath(path).c_str(), pool);
  if (error && APR_STATUS_IS_ENOENT(error->apr_err)) {
    Ignore(error);  // Missing is an answer.
    return std::nullopt;
  }
  Check(error);
  return std::string(text->data, text->len);
}

}  // namespace kelvarion::svn
