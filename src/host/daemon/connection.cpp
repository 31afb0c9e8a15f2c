#include "host/daemon/connection.h"

#include <boost/beast/http/read.hpp>

#include "errors/exception.h"
#include "host/daemon/answer.h"
#include "host/outcome.h"
#include "host/text.h"
#include "host/wire.h"
#include "platform/network/local_socket.h"

namespace kelvarion::host {
namespace {

namespace net = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;

constexpr std::uint32_t kHeaderBytes = 16 * 1024;
constexpr std::chrono::seconds kStrangerIdle{5};
constexpr int kRefusalTimeoutMs = 1000;
// Many clients ask again at once. For so long the thread that has answered stays, since to wake
// another one takes longer than a short request does; then others, who wait for a thread, come
// first.
constexpr int kNextRequestMs = 1;
constexpr int kInARow = 100;

Json RefusalLine(HRESULT status, const std::u16string& reason) {
  return StatusLine(status, reason.empty() ? Json(nullptr) : Failure(status, reason).error);
}

// The kind of request that a target asks for; empty for all others.
std::string KindOf(beast::string_view target) {
  const beast::string_view prefix = kTargetPrefix;
  if (!target.starts_with(prefix)) return {};
  std::string kind(target.substr(prefix.size()));
  return IsRequestKind(kind) ? kind : std::string();
}

}  // namespace

std::shared_ptr<Connection> Connection::Open(net::io_context& io, Workplace& workplace,
                                             platform::Descriptor socket) {
  ClientToken client;
  if (platform::PeerToken(socket.get(), client) != ERROR_SUCCESS) return nullptr;
  const bool served = workplace.served.Includes(client);
  const bool room = served ? workplace.connections < workplace.limits.connections
                           : workplace.strangers < workplace.limits.strangers;
  if (!room) {
    const Json line = RefusalLine(WBEM_E_SERVER_TOO_BUSY, u"There are too many connections");
    platform::SendAll(socket.get(), ShortAnswer(http::status::service_unavailable, line, false), 0);
    return nullptr;
  }
  return std::shared_ptr<Connection>(
      new Connection(io, workplace, std::move(socket), std::move(client), served));
}

Connection::Connection(net::io_context& io, Workplace& workplace, platform::Descriptor socket,
                       ClientToken client, bool served)
    : workplace_(workplace),
      client_(std::move(client)),
      stranger_(!served),
      stream_(net::make_strand(io)) {
  stream_.socket().assign(net::local::stream_protocol(), socket.Release());
  stream_.socket().non_blocking(true);
  ++(stranger_ ? workplace_.strangers : workplace_.connections);
}

Connection::~Connection() { --(stranger_ ? workplace_.strangers : workplace_.connections); }

int Connection::send_timeout_ms() const {
  return static_cast<int>(std::chrono::milliseconds(workplace_.limits.idle).count());
}

void Connection::Start() {
  net::dispatch(stream_.get_executor(), [self = shared_from_this()] {
    self->Expect();
    self->AwaitHeader();
  });
}

void Connection::Expect() {
  parser_.emplace();
  parser_->header_limit(kHeaderBytes);
  parser_->body_limit(workplace_.limits.request_bytes);
  stream_.expires_after(stranger_ ? kStrangerIdle : workplace_.limits.idle);
}

void Connection::AwaitHeader() {
  http::async_read_header(stream_, buffer_, *parser_,
                          [self = shared_from_this()](beast::error_code error, std::size_t) {
                            if (self->OnHeader(error)) self->GoOn();
                          });
}

void Connection::GoOn() {
  for (int i = 0; i < kInARow && platform::AwaitReadable(socket(), kNextRequestMs); ++i) {
    beast::error_code error;
    http::read_header(stream_.socket(), buffer_, *parser_, error);
    if (error == net::error::would_block) break;
    if (!OnHeader(error)) return;
  }
  AwaitHeader();
}

bool Connection::OnHeader(beast::error_code error) {
  if (error) return RefuseUnreadable(error);
  if (!workplace_.served.Includes(client_)) return RefuseStranger();
  const auto& request = parser_->get();
  if (request.version() != 11)
    return Refuse(http::status::http_version_not_supported, WBEM_E_NOT_SUPPORTED,
                  u"Only HTTP/1.1 is spoken here", false);
  if (KindOf(request.target()).empty())
    return Refuse(http::status::not_found, WBEM_E_NOT_SUPPORTED, u"There is no such request",
                  false);
  if (request.method() != http::verb::post)
    return Refuse(http::status::method_not_allowed, WBEM_E_NOT_SUPPORTED,
                  u"Requests are made with POST", false);
  if (!parser_->is_done()) http::read(stream_.socket(), buffer_, *parser_, error);
  if (error != net::error::would_block) return OnBody(error);
  http::async_read(stream_, buffer_, *parser_,
                   [self = shared_from_this()](beast::error_code failed, std::size_t) {
                     if (self->OnBody(failed)) self->GoOn();
                   });
  return false;
}

bool Connection::OnBody(beast::error_code error) {
  if (error) return RefuseUnreadable(error);
  return Serve(KindOf(parser_->get().target()));
}

// As the command line tool reports exceptions: only a WMIException has a status of its own.
bool Connection::Serve(const std::string& kind) {
  const auto place = workplace_.running.Enter();
  if (!place && workplace_.stopping)
    return Refuse(http::status::service_unavailable, WBEM_E_SHUTTING_DOWN, u"The daemon is ending",
                  false);
  if (!place)
    return Refuse(http::status::service_unavailable, WBEM_E_SERVER_TOO_BUSY,
                  u"Too many requests are running", true);
  const bool keep = parser_->get().keep_alive();
  std::optional<ClientRequest> request;
  try {
    request = ReadRequest(kind, parser_->get().body(), workplace_.host.schema());
  } catch (const WMIException& exception) {
    return Refuse(http::status::bad_request, exception.status(), exception.Message(), true);
  } catch (const Exception& exception) {
    return Refuse(http::status::bad_request, WBEM_E_FAILED, exception.Message(), true);
  }
  parser_.reset();
  ChunkedAnswer answer(socket(), send_timeout_ms(), keep);
  workplace_.running.Run(*request, client_, answer);
  return Finish(answer.End() && keep && !workplace_.stopping);
}

// Administrators get to know who asked; the client only that it may not.
bool Connection::RefuseStranger() {
  workplace_.refusals.Record(client_);
  return Refuse(http::status::forbidden, WBEM_E_ACCESS_DENIED, {}, false);
}

bool Connection::RefuseUnreadable(beast::error_code error) {
  if (error == http::error::body_limit)
    return Refuse(http::status::payload_too_large, WBEM_E_QUOTA_VIOLATION,
                  Format(u"A request may have at most %s bytes",
                         Utf16(std::to_string(workplace_.limits.request_bytes))),
                  false);
  if (error == http::error::end_of_stream || error == beast::error::timeout ||
      error.category() != http::make_error_code(http::error::bad_method).category())
    return false;  // The client went, or had nothing to say for too long.
  return Refuse(http::status::bad_request, WBEM_E_INVALID_PARAMETER,
                u"The request is no HTTP/1.1: " + Utf16(error.message()), false);
}

bool Connection::Refuse(http::status http_status, HRESULT status, const std::u16string& reason,
                        bool keep) {
  keep = keep && parser_->get().keep_alive() && !workplace_.stopping;
  const Win32Error error = platform::SendAll(
      socket(), ShortAnswer(http_status, RefusalLine(status, reason), keep), kRefusalTimeoutMs);
  return Finish(keep && error == ERROR_SUCCESS);
}

// What a large request needed is not kept for an idle client.
bool Connection::Finish(bool keep) {
  if (keep) {
    buffer_.shrink_to_fit();
    Expect();
  } else {
    beast::error_code ignored;
    stream_.socket().shutdown(net::socket_base::shutdown_both, ignored);
  }
  return keep;
}

}  // namespace kelvarion::host
