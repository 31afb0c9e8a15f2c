#include "host/provider_host.h"

#include "errors/exception.h"
#include "errors/hresult_text.h"
#include "host/collecting_sink.h"
#include "host/text.h"
#include "platform/process/process.h"
#include "platform/security/security.h"
#include "provider/class_ids.h"

namespace kelvarion::host {
namespace {

constexpr const char16_t* kNamespaceName = u"root\\Kelvarion";

class InitSink final : public ComObject<IWbemProviderInitSink> {
 public:
  HRESULT SetStatus(HRESULT status, std::int32_t) override {
    status_ = status;
    return S_OK;
  }
  HRESULT status() const { return status_; }

 private:
  HRESULT status_ = E_UNEXPECTED;
};

ComPtr<IWbemServices> CreateProvider() {
  ComPtr<IWbemServices> provider;
  const HRESULT hr =
      CoCreateInstance(CLSID_KelvarionWMIProvider, IWbemServices::kIid, provider.PutVoid());
  if (hr == REGDB_E_CLASSNOTREG)
    throw SimpleException(u"The provider is not registered in this home; run init again.");
  if (Failed(hr)) {
    std::u16string reason = Utf16(LastLoadError());
    if (reason.empty()) reason = HresultText(hr);
    throw SimpleException(u"The provider cannot be loaded: %s", reason);
  }
  return provider;
}

}  // namespace

ClientToken OwnToken() {
  return {platform::CurrentUserSid(), platform::CurrentGroupSids(),
          ImpersonationLevel::kImpersonation};
}

ProviderHost::ProviderHost(std::shared_ptr<platform::Machine> machine,
                           std::shared_ptr<const Schema> schema)
    : schema_(std::move(schema)) {
  platform::SetCurrentMachine(std::move(machine));
  provider_ = CreateProvider();
  const auto init = provider_.As<IWbemProviderInit>();
  const auto sink = MakeCom<InitSink>();
  const ScopedClient client(OwnToken());
  HRESULT hr = E_NOINTERFACE;
  if (init) {
    hr = init->Initialize(nullptr, 0, kNamespaceName, nullptr, schema_->name_space().Get(),
                          MakeContext().Get(), sink.Get());
  }
  if (Succeeded(hr)) hr = sink->status();
  if (Failed(hr)) {
    throw SimpleException(u"The provider cannot be initialised: %s The event log says why.",
                          HresultText(hr));
  }
}

Reply ProviderHost::Get(const std::u16string& path, IWbemContext* context, Observer* observer) {
  return Run(observer, [&](IWbemObjectSink* sink) {
    return provider_->GetObjectAsync(path, 0, context, sink);
  });
}

Reply ProviderHost::Put(IWbemClassObject* instance, IWbemContext* context, Observer* observer) {
  return Run(observer, [&](IWbemObjectSink* sink) {
    return provider_->PutInstanceAsync(instance, 0, context, sink);
  });
}

Reply ProviderHost::Delete(const std::u16string& path, IWbemContext* context, Observer* observer) {
  return Run(observer, [&](IWbemObjectSink* sink) {
    return provider_->DeleteInstanceAsync(path, 0, context, sink);
  });
}

Reply ProviderHost::Enumerate(const std::u16string& class_name, IWbemContext* context,
                              Observer* observer) {
  return Run(observer, [&](IWbemObjectSink* sink) {
    return provider_->CreateInstanceEnumAsync(class_name, 0, context, sink);
  });
}

Reply ProviderHost::Call(const std::u16string& path, const std::u16string& method,
                         IWbemContext* context, IWbemClassObject* in, Observer* observer) {
  return Run(observer, [&](IWbemObjectSink* sink) {
    return provider_->ExecMethodAsync(path, method, 0, context, in, sink);
  });
}

Reply ProviderHost::Run(Observer* observer, const Request& request) {
  const auto sink = MakeCom<CollectingSink>(observer);
  const platform::InterruptWatch watch([&] { sink->Cancel(); });
  const ScopedClient client(OwnToken());
  const HRESULT returned = request(sink.Get());
  return sink->Wait(returned);
}

}  // namespace kelvarion::host
