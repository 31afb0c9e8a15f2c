// What the libraries' reader of dump files is given to read.
#pragma once

struct apr_pool_t;
struct svn_stream_t;

namespace kelvarion::svn {

// A stream around another one that reads ahead, so that lines are found in memory: without it the
// libraries ask the source for every byte of a line. It also keeps what a damaged file can make
// them allocate small: a line or a property longer than any real one fails with
// SVN_ERR_STREAM_MALFORMED_DATA.
class DumpInputStream {
 public:
  static constexpr unsigned long kLongestLine = 1024 * 1024;
  static constexpr unsigned long kLongestProperty = 64 * 1024 * 1024;

  // Lives as long as the pool. Closing it closes the source.
  static svn_stream_t* Wrap(svn_stream_t* source, apr_pool_t* pool);
};

}  // namespace kelvarion::svn
