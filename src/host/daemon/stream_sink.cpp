#include "host/daemon/stream_sink.h"

#include "host/outcome.h"
#include "host/text.h"
#include "host/value_output.h"
#include "host/wire.h"

namespace kelvarion::host {

void StreamSink::Finish(HRESULT returned) {
  std::unique_lock lock(mutex_);
  if (!complete_ && Failed(returned)) {
    last_line_ = StatusLine(returned, nullptr);
    complete_ = true;
  }
  changed_.wait(lock, [this] { return complete_; });
  lines_.Write(last_line_, true);
}

// The extended sink is a plain one as well.
HRESULT StreamSink::QueryInterface(const Guid& iid, void** out) {
  return ComObject::QueryInterface(iid == IWbemObjectSink::kIid ? IWbemObjectSinkEx::kIid : iid,
                                   out);
}

// A client that is gone takes nothing more; the request need not go on for it.
HRESULT StreamSink::Write(const Json& line, bool urgent) {
  const std::lock_guard lock(mutex_);
  if (complete_) return RPC_E_DISCONNECTED;
  if (lines_.Write(line, urgent)) return S_OK;
  cancelled_ = true;
  return WBEM_E_CALL_CANCELLED;
}

HRESULT StreamSink::Indicate(std::int32_t count, IWbemClassObject** objects) {
  for (std::int32_t i = 0; i < count; ++i) {
    const HRESULT hr = Write({{"object", ObjectToJson(*objects[i])}}, false);
    if (Failed(hr)) return hr;
  }
  return S_OK;
}

HRESULT StreamSink::SetStatus(std::int32_t flags, HRESULT result, const std::u16string*,
                              IWbemClassObject* error) {
  if (flags != WBEM_STATUS_COMPLETE) return S_OK;
  const std::lock_guard lock(mutex_);
  if (complete_) return RPC_E_DISCONNECTED;
  last_line_ = StatusLine(result, error ? ObjectToJson(*error) : Json(nullptr));
  complete_ = true;
  changed_.notify_all();
  return S_OK;
}

HRESULT StreamSink::WriteMessage(std::uint32_t channel, const std::u16string& text) {
  constexpr std::uint32_t kWarnings = 0;
  return channel == kWarnings ? Write({{"warning", Utf8(text)}}, true) : S_OK;
}

HRESULT StreamSink::WriteProgress(const std::u16string* activity,
                                  const std::u16string* current_operation,
                                  const std::u16string* status_description,
                                  std::int32_t percent_complete, std::int32_t seconds_remaining) {
  const auto text = [](const std::u16string* given) { return given ? *given : std::u16string(); };
  const Progress progress{text(activity), text(current_operation), text(status_description),
                          percent_complete, seconds_remaining};
  const HRESULT hr = Write({{"progress", ToJson(progress)}}, true);
  if (Failed(hr) || !cancelled_) return hr;
  if (on_cancelled_) on_cancelled_();
  return WBEM_E_CALL_CANCELLED;
}

}  // namespace kelvarion::host
