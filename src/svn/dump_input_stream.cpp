#include "svn/dump_input_stream.h"

#include <svn_error_codes.h>
#include <svn_io.h>
#include <svn_pools.h>
#include <svn_string.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>

namespace kelvarion::svn {
namespace {

constexpr apr_size_t kBufferBytes = 64 * 1024;

struct Input {
  svn_stream_t* source;
  char* buffer;
  const char* next;
  const char* end;

  std::string_view ahead() const { return {next, static_cast<std::size_t>(end - next)}; }
};

svn_error_t* Fill(Input& input) {
  apr_size_t length = kBufferBytes;
  SVN_ERR(svn_stream_read_full(input.source, input.buffer, &length));
  input.next = input.buffer;
  input.end = input.buffer + length;
  return nullptr;
}

// Large pieces go past the buffer.
svn_error_t* Read(void* baton, char* target, apr_size_t* length) {
  auto& input = *static_cast<Input*>(baton);
  const apr_size_t wanted = *length;
  apr_size_t done = 0;
  while (done < wanted) {
    const apr_size_t rest = wanted - done;
    if (input.ahead().empty() && rest >= kBufferBytes) {
      apr_size_t got = rest;
      SVN_ERR(svn_stream_read_full(input.source, target + done, &got));
      done += got;
      break;
    }
    if (input.ahead().empty()) SVN_ERR(Fill(input));
    if (input.ahead().empty()) break;
    const apr_size_t piece = std::min(rest, input.ahead().size());
    std::memcpy(target + done, input.next, piece);
    input.next += piece;
    done += piece;
  }
  *length = done;
  return nullptr;
}

// The libraries allocate a property's length before they read it. Such lines are "K 10", "V 10",
// and "D 10"; lines of a dump file that begin so are never anything else.
svn_error_t* RefuseHugeProperty(const svn_stringbuf_t& line) {
  if (line.len < 3 || line.data[1] != ' ' || !std::strchr("KVD", line.data[0])) return nullptr;
  if (std::strtoull(line.data + 2, nullptr, 10) <= DumpInputStream::kLongestProperty)
    return nullptr;
  return svn_error_createf(SVN_ERR_STREAM_MALFORMED_DATA, nullptr,
                           "The dump file has a property of more than %lu bytes: '%.40s'",
                           DumpInputStream::kLongestProperty, line.data);
}

svn_error_t* ReadLine(void* baton, svn_stringbuf_t** out, const char* eol, svn_boolean_t* eof,
                      apr_pool_t* pool) {
  auto& input = *static_cast<Input*>(baton);
  svn_stringbuf_t* const line = svn_stringbuf_create_ensure(80, pool);
  const std::size_t eol_length = std::strlen(eol);
  *eof = FALSE;
  *out = line;
  for (;;) {
    if (input.ahead().empty()) SVN_ERR(Fill(input));
    if (input.ahead().empty()) {
      *eof = TRUE;
      return RefuseHugeProperty(*line);
    }
    // Up to the last character of the line's end, which may begin in an earlier piece.
    const std::size_t found = input.ahead().find(eol[eol_length - 1]);
    const std::size_t piece = found == std::string_view::npos ? input.ahead().size() : found + 1;
    svn_stringbuf_appendbytes(line, input.next, piece);
    input.next += piece;
    if (line->len > DumpInputStream::kLongestLine)
      return svn_error_createf(SVN_ERR_STREAM_MALFORMED_DATA, nullptr,
                               "The dump file has a line of more than %lu bytes",
                               DumpInputStream::kLongestLine);
    if (std::string_view(line->data, line->len).ends_with(eol)) {
      svn_stringbuf_chop(line, eol_length);
      return RefuseHugeProperty(*line);
    }
  }
}

svn_error_t* Close(void* baton) { return svn_stream_close(static_cast<Input*>(baton)->source); }

}  // namespace

svn_stream_t* DumpInputStream::Wrap(svn_stream_t* source, apr_pool_t* pool) {
  char* const buffer = static_cast<char*>(apr_palloc(pool, kBufferBytes));
  auto* const input = new (apr_palloc(pool, sizeof(Input))) Input{source, buffer, buffer, buffer};
  svn_stream_t* const stream = svn_stream_create(input, pool);
  svn_stream_set_read2(stream, nullptr, Read);
  svn_stream_set_readline(stream, ReadLine);
  svn_stream_set_close(stream, Close);
  return stream;
}

}  // namespace kelvarion::svn
