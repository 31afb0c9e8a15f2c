#include "host/daemon/answer.h"

#include <boost/asio/write.hpp>
#include <boost/beast/http/chunk_encode.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/http/write.hpp>

#include "host/wire.h"
#include "platform/network/local_socket.h"

namespace kelvarion::host {
namespace {

namespace net = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;

// Objects wait for company up to this size.
constexpr std::size_t kFullChunk = 32 * 1024;

// What the library writes, in memory.
struct TextStream {
  std::string& text;

  template <class Buffers>
  std::size_t write_some(const Buffers& buffers, beast::error_code& error) {
    error = {};
    std::size_t size = 0;
    for (const net::const_buffer buffer : beast::buffers_range_ref(buffers)) {
      text.append(static_cast<const char*>(buffer.data()), buffer.size());
      size += buffer.size();
    }
    return size;
  }
  template <class Buffers>
  std::size_t write_some(const Buffers& buffers) {
    beast::error_code ignored;
    return write_some(buffers, ignored);
  }
};

std::string LineOf(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace

ChunkedAnswer::ChunkedAnswer(int socket, int timeout_ms, bool keep_alive)
    : socket_(socket), timeout_ms_(timeout_ms) {
  http::response<http::empty_body> response(http::status::ok, 11);
  response.set(http::field::content_type, kAnswerMediaType);
  response.chunked(true);
  response.keep_alive(keep_alive);
  http::response_serializer<http::empty_body> serializer(response);
  TextStream stream{head_};
  http::write_header(stream, serializer);
}

bool ChunkedAnswer::Write(const Json& line, bool urgent) {
  lines_ += LineOf(line);
  // The last line goes with the end.
  if (line.contains("status") || (!urgent && lines_.size() < kFullChunk)) return !gone_;
  return Send(false);
}

bool ChunkedAnswer::IsClientGone() const { return platform::HasStoppedSending(socket_); }

bool ChunkedAnswer::End() { return Send(true); }

bool ChunkedAnswer::Send(bool last) {
  std::string bytes;
  bytes.swap(head_);
  TextStream stream{bytes};
  if (!lines_.empty()) net::write(stream, http::make_chunk(net::buffer(lines_)));
  lines_.clear();
  if (last) net::write(stream, http::make_chunk_last());
  if (!gone_) gone_ = platform::SendAll(socket_, bytes, timeout_ms_) != ERROR_SUCCESS;
  return !gone_;
}

std::string ShortAnswer(http::status http_status, const Json& line, bool keep_alive) {
  http::response<http::string_body> response(http_status, 11);
  response.set(http::field::content_type, kAnswerMediaType);
  response.keep_alive(keep_alive);
  response.body() = LineOf(line);
  response.prepare_payload();
  std::string bytes;
  TextStream stream{bytes};
  http::write(stream, response);
  return bytes;
}

}  // namespace kelvarion::host
