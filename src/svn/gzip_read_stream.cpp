#include "svn/gzip_read_stream.h"

#include <apr_pools.h>
#include <svn_error_codes.h>
#include <svn_io.h>
#include <svn_pools.h>
#include <zlib.h>

#include <new>

namespace kelvarion::svn {
namespace {

constexpr apr_size_t kInputBytes = 16384;
constexpr int kGzipOnly = 31;  // The greatest window, and gzip's framing alone.

struct Inflation {
  svn_stream_t* source;
  apr_pool_t* pool;
  z_stream* zlib = nullptr;  // Null before the first read.
  unsigned char* input = nullptr;
  bool ended = false;
};

svn_error_t* Wrapped(int result, const char* function) {
  switch (result) {
    case Z_OK:
      return nullptr;
    case Z_MEM_ERROR:
      return svn_error_createf(APR_ENOMEM, nullptr, "zlib (%s): out of memory", function);
    case Z_VERSION_ERROR:
      return svn_error_createf(SVN_ERR_STREAM_UNRECOGNIZED_DATA, nullptr,
                               "zlib (%s): version error", function);
    case Z_NEED_DICT:
      return svn_error_createf(SVN_ERR_STREAM_UNRECOGNIZED_DATA, nullptr,
                               "zlib (%s): the data need a dictionary", function);
    default:
      return svn_error_createf(SVN_ERR_STREAM_MALFORMED_DATA, nullptr, "zlib (%s): corrupt data",
                               function);
  }
}

void* Allocate(void* pool, uInt count, uInt size) {
  return apr_palloc(static_cast<apr_pool_t*>(pool), static_cast<apr_size_t>(count) * size);
}

void Free(void*, void*) {}  // With the pool.

svn_error_t* Refill(Inflation& inflation) {
  apr_size_t length = kInputBytes;
  SVN_ERR(
      svn_stream_read_full(inflation.source, reinterpret_cast<char*>(inflation.input), &length));
  inflation.zlib->next_in = inflation.input;
  inflation.zlib->avail_in = static_cast<uInt>(length);
  return nullptr;
}

svn_error_t* Start(Inflation& inflation) {
  if (inflation.zlib) return nullptr;
  inflation.input = static_cast<unsigned char*>(apr_palloc(inflation.pool, kInputBytes));
  inflation.zlib = static_cast<z_stream*>(apr_pcalloc(inflation.pool, sizeof(z_stream)));
  inflation.zlib->zalloc = Allocate;
  inflation.zlib->zfree = Free;
  inflation.zlib->opaque = inflation.pool;
  SVN_ERR(Refill(inflation));
  return Wrapped(inflateInit2(inflation.zlib, kGzipOnly), "inflateInit");
}

// What follows the end of compressed data is more of the same when several compressed files were
// joined, as gzip's own format allows; their texts are one text. Anything else is not read.
svn_error_t* EndOrNextMember(Inflation& inflation) {
  z_stream& zlib = *inflation.zlib;
  if (zlib.avail_in == 0) SVN_ERR(Refill(inflation));
  if (zlib.avail_in > 0 && zlib.next_in[0] == GzipReadStream::kMagic[0])
    return Wrapped(inflateReset(&zlib), "inflateReset");
  inflation.ended = true;
  return nullptr;
}

svn_error_t* Read(void* baton, char* buffer, apr_size_t* length) {
  auto& inflation = *static_cast<Inflation*>(baton);
  const apr_size_t wanted = *length;
  *length = 0;
  if (inflation.ended) return nullptr;
  SVN_ERR(Start(inflation));
  z_stream& zlib = *inflation.zlib;
  zlib.next_out = reinterpret_cast<unsigned char*>(buffer);
  zlib.avail_out = static_cast<uInt>(wanted);
  while (zlib.avail_out > 0 && !inflation.ended) {
    if (zlib.avail_in == 0) SVN_ERR(Refill(inflation));
    if (zlib.avail_in == 0)
      return svn_error_create(SVN_ERR_STREAM_UNEXPECTED_EOF, nullptr, nullptr);
    const int result = inflate(&zlib, Z_SYNC_FLUSH);
    if (result == Z_STREAM_END)
      SVN_ERR(EndOrNextMember(inflation));
    else
      SVN_ERR(Wrapped(result, "inflate"));
  }
  *length = wanted - zlib.avail_out;
  return nullptr;
}

svn_error_t* Close(void* baton) {
  auto& inflation = *static_cast<Inflation*>(baton);
  if (inflation.zlib) SVN_ERR(Wrapped(inflateEnd(inflation.zlib), "inflateEnd"));
  return svn_stream_close(inflation.source);
}

}  // namespace

svn_stream_t* GzipReadStream::Wrap(svn_stream_t* source, apr_pool_t* pool) {
  auto* const inflation =
      new (apr_palloc(pool, sizeof(Inflation))) Inflation{source, pool, nullptr, nullptr, false};
  svn_stream_t* const stream = svn_stream_create(inflation, pool);
  svn_stream_set_read2(stream, nullptr, Read);
  svn_stream_set_close(stream, Close);
  return stream;
}

}  // namespace kelvarion::svn
