// One client's connection, and what all connections share.
#pragma once

#include <atomic>
#include <boost/asio/io_context.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <boost/asio/strand.hpp>
#include <boost/beast/core/basic_stream.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>
#include <memory>
#include <optional>

#include "host/daemon/daemon.h"
#include "host/daemon/running_requests.h"
#include "host/daemon/served_clients.h"
#include "platform/files/descriptor.h"

namespace kelvarion::host {

struct Workplace {
  const ProviderHost& host;
  Refusals& refusals;
  const DaemonLimits& limits;
  const ServedClients& served;
  RunningRequests& running;
  std::atomic<bool> stopping = false;
  std::atomic<std::size_t> connections = 0;
  std::atomic<std::size_t> strangers = 0;
};

// Reads one request after another and answers each on the thread that read it; belongs to nobody
// but its own operations, and ends with the last of them.
class Connection : public std::enable_shared_from_this<Connection> {
 public:
  // Nothing when there are too many already: then the client has been told.
  static std::shared_ptr<Connection> Open(boost::asio::io_context& io, Workplace& workplace,
                                          platform::Descriptor socket);
  ~Connection();

  void Start();

 private:
  using Executor = boost::asio::strand<boost::asio::io_context::executor_type>;
  using Stream = boost::beast::basic_stream<boost::asio::local::stream_protocol, Executor>;
  using Parser = boost::beast::http::request_parser<boost::beast::http::string_body>;

  Connection(boost::asio::io_context& io, Workplace& workplace, platform::Descriptor socket,
             ClientToken client, bool served);

  // Gets ready for a request; its time begins.
  void Expect();
  // Waits without a thread.
  void AwaitHeader();
  // The same after those requests that come at once, which this thread answers.
  void GoOn();

  // These answer and are true when the next request may come.
  bool OnHeader(boost::beast::error_code error);
  bool OnBody(boost::beast::error_code error);
  bool Serve(const std::string& kind);
  bool RefuseStranger();
  bool RefuseUnreadable(boost::beast::error_code error);
  // Answers without work; the connection stays only when `keep` says so and the client wants it.
  bool Refuse(boost::beast::http::status http_status, HRESULT status, const std::u16string& reason,
              bool keep);
  bool Finish(bool keep);
  int socket() { return stream_.socket().native_handle(); }
  int send_timeout_ms() const;

  Workplace& workplace_;
  const ClientToken client_;
  const bool stranger_;  // When the connection was made, which is when it was counted.
  Stream stream_;
  boost::beast::flat_buffer buffer_;
  std::optional<Parser> parser_;
};

}  // namespace kelvarion::host
