#include "svn/progress_stream.h"

#include <svn_io.h>

#include "svn/error.h"
#include "svn/pool_object.h"

namespace kelvarion::svn {
namespace {

struct Counter {
  svn_stream_t* inner;
  std::uint64_t size;
  ProgressStream::Tell tell;
  std::uint64_t read = 0;
  std::uint64_t written = 0;
  Callback callback;

  svn_error_t* Count(std::uint64_t& total, apr_size_t bytes) {
    total += bytes;
    return callback.Run([&] { tell(total, size); });
  }
};

svn_error_t* Read(void* baton, char* buffer, apr_size_t* length) {
  auto& counter = *static_cast<Counter*>(baton);
  SVN_ERR(svn_stream_read2(counter.inner, buffer, length));
  return counter.Count(counter.read, *length);
}

svn_error_t* ReadFull(void* baton, char* buffer, apr_size_t* length) {
  auto& counter = *static_cast<Counter*>(baton);
  SVN_ERR(svn_stream_read_full(counter.inner, buffer, length));
  return counter.Count(counter.read, *length);
}

svn_error_t* Write(void* baton, const char* bytes, apr_size_t* length) {
  auto& counter = *static_cast<Counter*>(baton);
  SVN_ERR(svn_stream_write(counter.inner, bytes, length));
  return counter.Count(counter.written, *length);
}

svn_error_t* Close(void* baton) { return svn_stream_close(static_cast<Counter*>(baton)->inner); }

}  // namespace

svn_stream_t* ProgressStream::Wrap(svn_stream_t* stream, std::uint64_t size, Tell tell,
                                   apr_pool_t* pool) {
  auto* const counter = MakeInPool<Counter>(pool, Counter{stream, size, std::move(tell), 0, 0, {}});
  svn_stream_t* const counting = svn_stream_create(counter, pool);
  svn_stream_set_read2(counting, svn_stream_supports_partial_read(stream) ? Read : nullptr,
                       ReadFull);
  svn_stream_set_write(counting, Write);
  svn_stream_set_close(counting, Close);
  return counting;
}

}  // namespace kelvarion::svn
