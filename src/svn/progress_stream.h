// Counting what goes through a stream.
#pragma once

#include <cstdint>
#include <functional>

struct apr_pool_t;
struct svn_stream_t;

namespace kelvarion::svn {

// A stream around another one that tells after every successful read or write how many bytes went
// through in that direction so far, and the size it was told. Marks and seeks are not passed on.
class ProgressStream {
 public:
  using Tell = std::function<void(std::uint64_t bytes, std::uint64_t size)>;

  // Lives as long as the pool, as the stream does.
  static svn_stream_t* Wrap(svn_stream_t* stream, std::uint64_t size, Tell tell, apr_pool_t* pool);
};

}  // namespace kelvarion::svn
