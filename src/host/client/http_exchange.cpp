#include "host/client/http_exchange.h"

#include <array>
#include <boost/asio/buffer.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/buffer_body.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/http/write.hpp>
#include <limits>
#include <sstream>

#include "errors/exception.h"
#include "host/text.h"
#include "host/wire.h"
#include "platform/network/local_socket.h"

namespace kelvarion::host {
namespace {

namespace net = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;

constexpr int kSendTimeoutMs = 60'000;

[[noreturn]] void BrokenOff() {
  throw WMIException(WBEM_E_TRANSPORT_FAILURE,
                     u"The daemon's answer broke off: whether the request was carried out is not "
                     u"known");
}

// The socket as the library reads it.
struct SocketStream {
  int socket;

  template <class Buffers>
  std::size_t read_some(const Buffers& buffers, beast::error_code& error) {
    const net::mutable_buffer buffer = *net::buffer_sequence_begin(buffers);
    std::size_t count = 0;
    error = {};
    if (platform::Receive(socket, buffer.data(), buffer.size(), count) != ERROR_SUCCESS)
      error = net::error::connection_reset;
    else if (count == 0)
      error = net::error::eof;
    return count;
  }
  template <class Buffers>
  std::size_t read_some(const Buffers& buffers) {
    beast::error_code error;
    const std::size_t count = read_some(buffers, error);
    if (error) throw beast::system_error(error);
    return count;
  }
};

// Whether the request was sent to its end.
bool Send(int socket, const std::string& target, const std::string& body) {
  http::request<http::string_body> request(http::verb::post, target, 11);
  request.set(http::field::host, "localhost");
  request.set(http::field::content_type, kRequestMediaType);
  request.body() = body;
  request.prepare_payload();
  std::ostringstream bytes;
  bytes << request;
  // A daemon that refuses early need not take everything; what it says then counts.
  return platform::SendAll(socket, bytes.str(), kSendTimeoutMs) == ERROR_SUCCESS;
}

Json Parse(const std::string& line) {
  Json json = Json::parse(line, nullptr, false);
  if (!json.is_object()) BrokenOff();
  return json;
}

}  // namespace

void Exchange(int socket, const std::string& target, const std::string& body,
              const std::function<void(const Json&)>& line) {
  const bool sent = Send(socket, target, body);
  SocketStream stream{socket};
  beast::flat_buffer buffer;
  http::response_parser<http::buffer_body> parser;
  parser.body_limit(std::numeric_limits<std::uint64_t>::max());
  beast::error_code error;
  http::read_header(stream, buffer, parser, error);
  if (error && (!sent || error == net::error::connection_reset)) throw DaemonGone();
  if (error) BrokenOff();
  std::string text;
  std::array<char, 16 * 1024> piece;
  while (!parser.is_done()) {
    parser.get().body().data = piece.data();
    parser.get().body().size = piece.size();
    http::read_some(stream, buffer, parser, error);
    if (error && error != http::error::need_buffer) BrokenOff();
    text.append(piece.data(), piece.size() - parser.get().body().size);
    std::size_t begin = 0;
    for (std::size_t end = 0; (end = text.find('\n', begin)) != std::string::npos; begin = end + 1)
      line(Parse(text.substr(begin, end - begin)));
    text.erase(0, begin);
  }
  if (!text.empty()) BrokenOff();
}

}  // namespace kelvarion::host
