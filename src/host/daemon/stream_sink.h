// The sink of a client's request: everything goes on to the client as it comes.
#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>

#include "host/argument.h"
#include "host/schema.h"

namespace kelvarion::host {

// The lines of one answer on their way to a client. One line at a time, from any thread.
class AnswerLines {
 public:
  // False when the client is gone. What is not urgent may wait for company.
  virtual bool Write(const Json& line, bool urgent) = 0;

 protected:
  ~AnswerLines() = default;
};

// May be called from any thread. What comes after the final status is not taken.
class StreamSink final : public ComObject<IWbemObjectSinkEx> {
 public:
  // The lines outlive the sink's completion. `on_cancelled` is called whenever the request goes on
  // although it was cancelled, so that a cancellation which came too early is repeated; may be
  // null.
  StreamSink(AnswerLines& lines, std::function<void()> on_cancelled)
      : lines_(lines), on_cancelled_(std::move(on_cancelled)) {}

  // From now on progress is answered by the wish to stop.
  void Cancel() { cancelled_ = true; }
  bool cancelled() const { return cancelled_; }

  // Waits for the final status and writes it. `returned` is what the entry point answered: a
  // refusal completes a request that got no status.
  void Finish(HRESULT returned);

  HRESULT QueryInterface(const Guid& iid, void** out) override;
  HRESULT Indicate(std::int32_t count, IWbemClassObject** objects) override;
  HRESULT SetStatus(std::int32_t flags, HRESULT result, const std::u16string* text,
                    IWbemClassObject* error) override;
  HRESULT WriteMessage(std::uint32_t channel, const std::u16string& text) override;
  HRESULT WriteProgress(const std::u16string* activity, const std::u16string* current_operation,
                        const std::u16string* status_description, std::int32_t percent_complete,
                        std::int32_t seconds_remaining) override;

 private:
  HRESULT Write(const Json& line, bool urgent);

  AnswerLines& lines_;
  const std::function<void()> on_cancelled_;
  std::atomic<bool> cancelled_{false};
  std::mutex mutex_;
  std::condition_variable changed_;
  bool complete_ = false;
  Json last_line_;
};

}  // namespace kelvarion::host
