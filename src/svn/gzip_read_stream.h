// Reading what gzip compressed.
#pragma once

struct apr_pool_t;
struct svn_stream_t;

namespace kelvarion::svn {

// A stream that reads the uncompressed bytes of another one, which holds gzip data and nothing
// else. Memory is that of one input buffer and of inflation, however long the data. Data that end
// early fail with SVN_ERR_STREAM_UNEXPECTED_EOF, damaged ones with the error "zlib (inflate): …".
class GzipReadStream {
 public:
  // Every gzip file begins with these two bytes.
  static constexpr unsigned char kMagic[2] = {0x1F, 0x8B};

  // Lives as long as the pool. Closing it closes the source.
  static svn_stream_t* Wrap(svn_stream_t* source, apr_pool_t* pool);
};

}  // namespace kelvarion::svn
