#include "provider/proxy/object_sink_proxy.h"

namespace kelvarion {

HRESULT CWbemObjectSinkProxy::QueryInterface(const Guid& iid, void** out) {
  const bool is_sink = iid == IWbemObjectSink::kIid;
  return ComObject::QueryInterface(is_sink ? IWbemObjectSinkProxy::kIid : iid, out);
}

// The call itself is made without the lock: a client's sink may take its time.
ComPtr<IWbemObjectSink> CWbemObjectSinkProxy::Target() {
  const std::lock_guard lock(mutex_);
  return target_;
}

HRESULT CWbemObjectSinkProxy::Indicate(std::int32_t count, IWbemClassObject** objects) {
  const ComPtr<IWbemObjectSink> target = Target();
  return target ? target->Indicate(count, objects) : RPC_E_DISCONNECTED;
}

HRESULT CWbemObjectSinkProxy::SetStatus(std::int32_t flags, HRESULT result,
                                        const std::u16string* text, IWbemClassObject* error) {
  const ComPtr<IWbemObjectSink> target = Target();
  return target ? target->SetStatus(flags, result, text, error) : RPC_E_DISCONNECTED;
}

HRESULT CWbemObjectSinkProxy::Detach() {
  ComPtr<IWbemObjectSink> released;  // Released after the lock: its end may call back.
  const std::lock_guard lock(mutex_);
  std::swap(released, target_);
  return S_OK;
}

}  // namespace kelvarion
