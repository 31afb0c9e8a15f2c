// Stands in for the provider in tests of what is around it.
#pragma once

#include <functional>

#include "platform/com/class_object.h"
#include "platform/wmi/cancellable_sink.h"
#include "platform/wmi/services_base.h"

namespace kelvarion::host {

// A provider that does what the test says.
class FakeProvider final : public ComObject<platform::ServicesBase, IWbemProviderInit> {
 public:
  using Method = std::function<HRESULT(const std::u16string& name, IWbemContext* context,
                                       IWbemClassObject* in, IWbemObjectSink* sink)>;

  HRESULT Initialize(const std::u16string*, std::int32_t, const std::u16string&,
                     const std::u16string*, IWbemServices* services, IWbemContext*,
                     IWbemProviderInitSink* sink) override {
    initialized_with_namespace = services != nullptr;
    return sink->SetStatus(initialize_status, 0);
  }
  HRESULT GetObjectAsync(Text, std::int32_t, IWbemContext*, IWbemObjectSink* sink) override {
    impersonated = CoImpersonateClient();
    const ClientToken* token = nullptr;
    if (OpenThreadToken(token) == ERROR_SUCCESS) client = *token;
    CoRevertToSelf();
    return sink->SetStatus(WBEM_STATUS_COMPLETE, S_OK, nullptr, nullptr);
  }
  HRESULT ExecMethodAsync(Text, Text name, std::int32_t, IWbemContext* context,
                          IWbemClassObject* in, IWbemObjectSink* sink) override {
    return method(name, context, in, sink);
  }

  HRESULT initialize_status = S_OK;
  bool initialized_with_namespace = false;
  HRESULT impersonated = E_UNEXPECTED;
  ClientToken client;
  Method method;
};

class FakeFactory final : public ComObject<IClassFactory> {
 public:
  explicit FakeFactory(ComPtr<FakeProvider> provider) : provider_(std::move(provider)) {}
  HRESULT CreateInstance(IUnknown*, const Guid& iid, void** out) override {
    return provider_->QueryInterface(iid, out);
  }
  HRESULT LockServer(bool) override { return S_OK; }

 private:
  ComPtr<FakeProvider> provider_;
};

}  // namespace kelvarion::host
