// What the sinks of clients' requests share: an order of events, an end, and the wish to stop.
#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>

#include "host/reply.h"
#include "platform/wmi/cancellable_sink.h"

namespace kelvarion::host {

// May be called from any thread. What comes after the final status is not taken.
class RequestSink : public ComObject<IWbemObjectSinkEx, IcCancellableSink> {
 public:
  // From now on progress is answered by the wish to stop, and whoever asks hears of it.
  void Cancel() { cancelled_ = true; }
  bool IsCancelled() const override;

  HRESULT QueryInterface(const Guid& iid, void** out) override;
  HRESULT Indicate(std::int32_t count, IWbemClassObject** objects) final;
  HRESULT SetStatus(std::int32_t flags, HRESULT result, const std::u16string* text,
                    IWbemClassObject* error) final;
  HRESULT WriteMessage(std::uint32_t channel, const std::u16string& text) final;
  HRESULT WriteProgress(const std::u16string* activity, const std::u16string* current_operation,
                        const std::u16string* status_description, std::int32_t percent_complete,
                        std::int32_t seconds_remaining) final;

 protected:
  // One at a time. False when the client is gone, which cancels the request.
  virtual bool TakeObject(IWbemClassObject& object) = 0;
  virtual bool TakeWarning(const std::u16string& text) = 0;
  virtual bool TakeProgress(const Progress& progress) = 0;
  // Asked when nothing is taken at the moment.
  virtual bool IsClientGone() const { return false; }

  struct FinalStatus {
    HRESULT status = S_OK;
    ObjectPtr error;  // Null when there is none.
  };
  // Waits for it. `returned` is what the entry point answered: a refusal completes a request that
  // got no status.
  FinalStatus WaitForStatus(HRESULT returned);

 private:
  template <class Take>
  HRESULT Pass(const Take& take);

  std::atomic<bool> cancelled_{false};
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  bool complete_ = false;
  FinalStatus final_;
};

}  // namespace kelvarion::host
