// Answers as HTTP carries them.
#pragma once

#include <boost/beast/http/status.hpp>
#include <string>

#include "host/daemon/stream_sink.h"

namespace kelvarion::host {

// An answer whose length nobody knows yet: one chunk of the body for every write to the socket.
class ChunkedAnswer final : public AnswerLines {
 public:
  ChunkedAnswer(int socket, int timeout_ms, bool keep_alive);

  bool Write(const Json& line, bool urgent) override;
  bool IsClientGone() const override;
  // After the last line; whether the client got everything.
  bool End();

 private:
  bool Send(bool last);

  const int socket_;
  const int timeout_ms_;
  std::string head_;   // Until it is sent.
  std::string lines_;  // Not sent yet.
  bool gone_ = false;
};

// A whole answer of one line.
std::string ShortAnswer(boost::beast::http::status http_status, const Json& line, bool keep_alive);

}  // namespace kelvarion::host
