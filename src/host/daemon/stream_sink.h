// The sink of a client's request: everything goes on to the client as it comes.
#pragma once

#include "host/argument.h"
#include "host/request_sink.h"

namespace kelvarion::host {

// The lines of one answer on their way to a client. One line at a time, from any thread.
class AnswerLines {
 public:
  // False when the client is gone. What is not urgent may wait for company.
  virtual bool Write(const Json& line, bool urgent) = 0;
  // Whether the client has closed its end, or the half of it that sends.
  virtual bool IsClientGone() const = 0;

 protected:
  ~AnswerLines() = default;
};

class StreamSink final : public RequestSink {
 public:
  // The lines outlive the sink's completion.
  explicit StreamSink(AnswerLines& lines) : lines_(lines) {}

  // Waits for the final status and writes it. `returned` is what the entry point answered.
  void Finish(HRESULT returned);

 private:
  bool TakeObject(IWbemClassObject& object) override;
  bool TakeWarning(const std::u16string& text) override;
  bool TakeProgress(const Progress& progress) override;
  bool IsClientGone() const override { return lines_.IsClientGone(); }

  AnswerLines& lines_;
};

}  // namespace kelvarion::host
