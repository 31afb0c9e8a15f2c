#include "host/request_sink.h"

namespace kelvarion::host {

RequestSink::FinalStatus RequestSink::WaitForStatus(HRESULT returned) {
  std::unique_lock lock(mutex_);
  if (!complete_ && Failed(returned)) {
    final_.status = returned;
    complete_ = true;
  }
  changed_.wait(lock, [this] { return complete_; });
  return std::move(final_);
}

bool RequestSink::IsCancelled() const {
  if (cancelled_) return true;
  const std::lock_guard lock(mutex_);
  return !complete_ && IsClientGone();
}

// The extended sink is a plain one as well.
HRESULT RequestSink::QueryInterface(const Guid& iid, void** out) {
  return ComObject::QueryInterface(iid == IWbemObjectSink::kIid ? IWbemObjectSinkEx::kIid : iid,
                                   out);
}

// The request need not go on for a client that takes nothing more.
template <class Take>
HRESULT RequestSink::Pass(const Take& take) {
  const std::lock_guard lock(mutex_);
  if (complete_) return RPC_E_DISCONNECTED;
  if (take()) return S_OK;
  Cancel();
  return WBEM_E_CALL_CANCELLED;
}

HRESULT RequestSink::Indicate(std::int32_t count, IWbemClassObject** objects) {
  return Pass([&] {
    for (std::int32_t i = 0; i < count; ++i)
      if (!TakeObject(*objects[i])) return false;
    return true;
  });
}

HRESULT RequestSink::SetStatus(std::int32_t flags, HRESULT result, const std::u16string*,
                               IWbemClassObject* error) {
  if (flags != WBEM_STATUS_COMPLETE) return S_OK;
  const std::lock_guard lock(mutex_);
  if (complete_) return RPC_E_DISCONNECTED;
  final_ = {result, ObjectPtr(error)};
  complete_ = true;
  changed_.notify_all();
  return S_OK;
}

HRESULT RequestSink::WriteMessage(std::uint32_t channel, const std::u16string& text) {
  constexpr std::uint32_t kWarnings = 0;
  return channel == kWarnings ? Pass([&] { return TakeWarning(text); }) : S_OK;
}

HRESULT RequestSink::WriteProgress(const std::u16string* activity,
                                   const std::u16string* current_operation,
                                   const std::u16string* status_description,
                                   std::int32_t percent_complete, std::int32_t seconds_remaining) {
  const auto text = [](const std::u16string* given) { return given ? *given : std::u16string(); };
  const Progress progress{text(activity), text(current_operation), text(status_description),
                          percent_complete, seconds_remaining};
  const HRESULT hr = Pass([&] { return TakeProgress(progress); });
  return Succeeded(hr) && IsCancelled() ? WBEM_E_CALL_CANCELLED : hr;
}

}  // namespace kelvarion::host
