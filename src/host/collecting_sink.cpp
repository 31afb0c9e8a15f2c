#include "host/collecting_sink.h"

namespace kelvarion::host {

bool CollectingSink::completed() const {
  const std::lock_guard lock(mutex_);
  return complete_;
}

Reply CollectingSink::Wait(HRESULT returned) {
  std::unique_lock lock(mutex_);
  if (!complete_ && Failed(returned)) {
    reply_.status = returned;
    complete_ = true;
  }
  changed_.wait(lock, [this] { return complete_; });
  return std::move(reply_);
}

// The extended sink is a plain one as well.
HRESULT CollectingSink::QueryInterface(const Guid& iid, void** out) {
  return ComObject::QueryInterface(iid == IWbemObjectSink::kIid ? IWbemObjectSinkEx::kIid : iid,
                                   out);
}

HRESULT CollectingSink::Indicate(std::int32_t count, IWbemClassObject** objects) {
  const std::lock_guard lock(mutex_);
  if (complete_) return RPC_E_DISCONNECTED;
  for (std::int32_t i = 0; i < count; ++i) reply_.objects.emplace_back(objects[i]);
  return S_OK;
}

HRESULT CollectingSink::SetStatus(std::int32_t flags, HRESULT result, const std::u16string*,
                                  IWbemClassObject* error) {
  if (flags != WBEM_STATUS_COMPLETE) return S_OK;
  const std::lock_guard lock(mutex_);
  if (complete_) return RPC_E_DISCONNECTED;
  reply_.status = result;
  reply_.error = ObjectPtr(error);
  complete_ = true;
  changed_.notify_all();
  return S_OK;
}

HRESULT CollectingSink::WriteMessage(std::uint32_t channel, const std::u16string& text) {
  constexpr std::uint32_t kWarnings = 0;
  if (channel != kWarnings) return S_OK;
  const std::lock_guard lock(mutex_);
  if (complete_) return RPC_E_DISCONNECTED;
  reply_.warnings.push_back(text);
  if (observer_) observer_->OnWarning(text);
  return S_OK;
}

HRESULT CollectingSink::WriteProgress(const std::u16string* activity,
                                      const std::u16string* current_operation,
                                      const std::u16string* status_description,
                                      std::int32_t percent_complete,
                                      std::int32_t seconds_remaining) {
  const auto text = [](const std::u16string* given) { return given ? *given : std::u16string(); };
  const Progress progress{text(activity), text(current_operation), text(status_description),
                          percent_complete, seconds_remaining};
  const std::lock_guard lock(mutex_);
  if (complete_) return RPC_E_DISCONNECTED;
  reply_.progress.push_back(progress);
  if (observer_) observer_->OnProgress(progress);
  return cancelled_ ? WBEM_E_CALL_CANCELLED : S_OK;
}

}  // namespace kelvarion::host
