#include "provider/proxy/repo_manager_provider_proxy.h"

#include "platform/com/class_object.h"
#include "provider/client_access.h"
#include "provider/proxy/object_sink_proxy.h"
#include "provider/proxy/provider_init_sink.h"

namespace kelvarion {
namespace {

constexpr HRESULT kServerGone = HresultFromWin32(RPC_S_SERVER_UNAVAILABLE);

// Nothing here throws but for want of memory, or a server of this process that does.
template <class Body>
HRESULT WithoutException(const Body& body) {
  try {
    return body();
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (...) {
    return E_UNEXPECTED;
  }
}

}  // namespace

HRESULT CRepoManagerProviderProxy::Initialize(const std::u16string*, std::int32_t,
                                              const std::u16string& namespace_name,
                                              const std::u16string*, IWbemServices* services,
                                              IWbemContext* context, IWbemProviderInitSink* sink) {
  if (!sink) return WBEM_E_INVALID_PARAMETER;
  const HRESULT connected = WithoutException([&] {
    {
      const std::lock_guard lock(mutex_);
      namespace_name_ = namespace_name;
      namespace_ = ComPtr<IWbemServices>(services);
      context_ = ComPtr<IWbemContext>(context);
    }
    return Connect();
  });
  return sink->SetStatus(Succeeded(connected) ? WBEM_S_INITIALIZED : WBEM_E_FAILED, 0);
}

HRESULT CRepoManagerProviderProxy::Connect() {
  std::u16string namespace_name;
  ComPtr<IWbemServices> name_space;
  ComPtr<IWbemContext> context;
  {
    const std::lock_guard lock(mutex_);
    namespace_name = namespace_name_;
    name_space = namespace_;
    context = context_;
  }
  ComPtr<IWbemProviderInit> server;
  HRESULT hr =
      CoCreateInstance(CLSID_RepositoryConfigurator, IWbemProviderInit::kIid, server.PutVoid());
  if (Failed(hr)) return hr;
  const auto status = MakeCom<CWbemProviderInitSink>();
  Impersonation impersonation;
  hr = impersonation.Begin();
  if (Succeeded(hr)) {
    hr = server->Initialize(nullptr, 0, namespace_name, nullptr, name_space.Get(), context.Get(),
                            status.Get());
  }
  // A server that refused to begin never says how it ended.
  if (Succeeded(hr)) hr = status->Wait();
  if (hr != WBEM_S_INITIALIZED) return Failed(hr) ? hr : WBEM_E_FAILED;
  ComPtr<IWbemServices> services;
  hr = server->QueryInterface(IWbemServices::kIid, services.PutVoid());
  if (Failed(hr)) return hr;
  const std::lock_guard lock(mutex_);
  std::swap(server_, services);
  return S_OK;
}

HRESULT CRepoManagerProviderProxy::Forward(IWbemObjectSink* sink, const Request& request) {
  Impersonation impersonation;
  if (const HRESULT hr = impersonation.Begin(); Failed(hr)) return hr;
  ComPtr<IWbemServices> server;
  {
    const std::lock_guard lock(mutex_);
    server = server_;
  }
  // A server that could not be reached when the proxy was initialised may be there by now.
  if (!server) return kServerGone;
  const auto proxy = MakeCom<CWbemObjectSinkProxy>(sink);
  const HRESULT hr = WithoutException([&] { return request(*server, proxy.Get()); });
  if (Failed(hr)) proxy->Detach();
  return hr;
}

HRESULT CRepoManagerProviderProxy::GetObjectAsync(Text path, std::int32_t flags,
                                                  IWbemContext* context, IWbemObjectSink* sink) {
  return WithoutException([&] {
    const Request request = [&](IWbemServices& server, IWbemObjectSink* proxy) {
      return server.GetObjectAsync(path, flags, context, proxy);
    };
    const HRESULT hr = Forward(sink, request);
    if (hr != kServerGone || Failed(Connect())) return hr;
    return Forward(sink, request);
  });
}

HRESULT CRepoManagerProviderProxy::ExecMethodAsync(Text path, Text method, std::int32_t flags,
                                                   IWbemContext* context,
                                                   IWbemClassObject* in_params,
                                                   IWbemObjectSink* sink) {
  return WithoutException([&] {
    return Forward(sink, [&](IWbemServices& server, IWbemObjectSink* proxy) {
      return server.ExecMethodAsync(path, method, flags, context, in_params, proxy);
    });
  });
}

}  // namespace kelvarion
