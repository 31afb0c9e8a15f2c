// The sink of a request made by a person or a script: keeps everything until it is complete.
#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <optional>

#include "host/reply.h"

namespace kelvarion::host {

// May be called from any thread. What comes after the final status is not taken.
class CollectingSink final : public ComObject<IWbemObjectSinkEx> {
 public:
  // The observer may be null, else outlives the sink's completion.
  explicit CollectingSink(Observer* observer) : observer_(observer) {}

  // From now on progress is answered by the wish to stop.
  void Cancel() { cancelled_ = true; }
  bool completed() const;

  // Waits for the final status. `returned` is what the entry point answered: a refusal completes
  // a request that got no status.
  Reply Wait(HRESULT returned);

  HRESULT QueryInterface(const Guid& iid, void** out) override;
  HRESULT Indicate(std::int32_t count, IWbemClassObject** objects) override;
  HRESULT SetStatus(std::int32_t flags, HRESULT result, const std::u16string* text,
                    IWbemClassObject* error) override;
  HRESULT WriteMessage(std::uint32_t channel, const std::u16string& text) override;
  HRESULT WriteProgress(const std::u16string* activity, const std::u16string* current_operation,
                        const std::u16string* status_description, std::int32_t percent_complete,
                        std::int32_t seconds_remaining) override;

 private:
  Observer* const observer_;
  std::atomic<bool> cancelled_{false};
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  bool complete_ = false;
  Reply reply_;
};

}  // namespace kelvarion::host
