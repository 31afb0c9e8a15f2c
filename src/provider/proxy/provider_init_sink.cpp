#include "provider/proxy/provider_init_sink.h"

namespace kelvarion {

HRESULT CWbemProviderInitSink::QueryInterface(const Guid& iid, void** out) {
  const bool is_sink = iid == IWbemProviderInitSink::kIid;
  return ComObject::QueryInterface(is_sink ? IWbemProviderInitSinkImpl::kIid : iid, out);
}

HRESULT CWbemProviderInitSink::SetStatus(HRESULT status, std::int32_t) {
  const std::lock_guard lock(mutex_);
  status_ = status;
  set_.notify_all();
  return S_OK;
}

HRESULT CWbemProviderInitSink::Wait() {
  std::unique_lock lock(mutex_);
  set_.wait(lock, [this] { return status_.has_value(); });
  return *status_;
}

}  // namespace kelvarion
