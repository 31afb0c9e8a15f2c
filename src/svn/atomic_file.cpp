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

}  // namespace

// The names are those of svn_io_open_unique_file2, whose files however anybody may read.
AtomicFileStream::AtomicFileStream(const std::u16string& path, platform::NewFile access,
                                   const Pool& parent)
    : pool_(parent), access_(access), target_(AbsoluteDirent(path, pool_)) {
  for (int i = 1; i <= kMostNames; ++i) {
    temporary_ = target_ + (i == 1 ? ".tmp" : "." + std::to_string(i) + ".tmp");
    const apr_status_t status = apr_file_open(&file_, temporary_.c_str(),
                                              APR_FOPEN_WRITE | APR_FOPEN_CREATE | APR_FOPEN_EXCL,
                                              APR_FPROT_UREAD | APR_FPROT_UWRITE, pool_);
    if (status == APR_SUCCESS) return;
    if (!APR_STATUS_IS_EEXIST(status)) {
      ThrowAprError(status, Format(u"Can't open '%s'", PathFromDirent(temporary_)));
    }
  }
  ThrowAprError(APR_EEXIST, Format(u"Unable to make name for '%s'", path));
}

AtomicFileStream::~AtomicFileStream() {
  if (finished_) return;
  // Whatever made the writer give up is what the caller hears about.
  if (file_) Ignore(svn_io_file_close(file_, pool_));
  Ignore(svn_io_remove_file2(temporary_.c_str(), TRUE, pool_));
}

void AtomicFileStream::Write(std::string_view bytes) {
  Check(svn_io_file_write_full(file_, bytes.data(), bytes.size(), nullptr, pool_));
}

void AtomicFileStream::Close() {
  Check(svn_io_file_flush_to_disk(file_, pool_));
  svn_error_t* const closed = svn_io_file_close(file_, pool_);
  file_ = nullptr;
  Check(closed);
  const std::u16string from = PathFromDirent(temporary_);
  const std::u16string to = PathFromDirent(target_);
  if (const Win32Error error = platform::MoveFileReplacing(from, to, access_)) {
    ThrowSystemError(error, Format(u"Can't move '%s' to '%s'", from, to));
  }
  finished_ = true;
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
