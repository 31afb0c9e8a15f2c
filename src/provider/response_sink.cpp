#include "provider/response_sink.h"

#include "errors/exception.h"

namespace kelvarion {
namespace {

constexpr std::uint32_t kWarningChannel = 0;

const std::u16string* Pointer(const std::optional<std::u16string>& text) {
  return text ? &*text : nullptr;
}

}  // namespace

ResponseSink::ResponseSink(ComPtr<IWbemObjectSink> sink)
    : sink_(std::move(sink)),
      extended_(sink_.As<IWbemObjectSinkEx>()),
      cancellable_(sink_.As<IcCancellableSink>()) {}

void ResponseSink::Indicate(const WMIObject& object) {
  IWbemClassObject* objects[] = {object.object().Get()};
  ThrowIfFailed(sink_->Indicate(1, objects));
}

bool ResponseSink::cancelled() const {
  return cancelled_.load(std::memory_order_relaxed) ||
         (cancellable_ && cancellable_->IsCancelled());
}

void ResponseSink::ThrowIfCancelled() const {
  if (cancelled()) throw WMIException(WBEM_E_CALL_CANCELLED);
}

void ResponseSink::WriteWarning(const std::u16string& text) {
  if (!extended_) return;
  const HRESULT hr = extended_->WriteMessage(kWarningChannel, text);
  if (hr != WBEM_E_NOT_SUPPORTED) ThrowIfFailed(hr);
}

void ResponseSink::WriteProgress(const ProgressRecord& record) {
  if (!extended_) return;
  const HRESULT hr = extended_->WriteProgress(
      Pointer(record.activity), Pointer(record.current_operation),
      Pointer(record.status_description), record.percent_complete, record.seconds_remaining);
  if (hr == WBEM_E_CALL_CANCELLED) cancelled_ = true;
}

}  // namespace kelvarion
