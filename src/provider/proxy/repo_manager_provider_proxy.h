// A provider that hands its requests to the repository configurator, a server of its own.
#pragma once

#include <functional>
#include <mutex>
#include <string>

#include "platform/wmi/services_base.h"
#include "provider/module.h"

namespace kelvarion {

// The server that the requests go to; it answers IWbemProviderInit and IWbemServices.
inline constexpr Guid CLSID_RepositoryConfigurator{
    0xA2AC77FD, 0x36C6, 0x4C2A, {0xB2, 0x38, 0xF8, 0x9B, 0x35, 0xDA, 0xA5, 0x70}};

// Initialize comes once and first; then requests on any threads at the same time. Each is made as
// the client of its thread. No exception leaves it; every failure is an HRESULT. Results of a
// request that the server refused never reach the client, however late they come.
class CRepoManagerProviderProxy final
    : public ComObject<platform::ServicesBase, IWbemProviderInit> {
 public:
  HRESULT Initialize(const std::u16string* user, std::int32_t flags,
                     const std::u16string& namespace_name, const std::u16string* locale,
                     IWbemServices* services, IWbemContext* context,
                     IWbemProviderInitSink* sink) override;

  // Connects once again when the server has gone away.
  HRESULT GetObjectAsync(Text path, std::int32_t flags, IWbemContext* context,
                         IWbemObjectSink* sink) override;
  // Is not repeated: nobody knows how far the server came.
  HRESULT ExecMethodAsync(Text path, Text method, std::int32_t flags, IWbemContext* context,
                          IWbemClassObject* in_params, IWbemObjectSink* sink) override;

  HRESULT PutInstanceAsync(IWbemClassObject*, std::int32_t, IWbemContext*,
                           IWbemObjectSink*) override {
    return WBEM_E_PROVIDER_NOT_CAPABLE;
  }
  HRESULT DeleteInstanceAsync(Text, std::int32_t, IWbemContext*, IWbemObjectSink*) override {
    return WBEM_E_PROVIDER_NOT_CAPABLE;
  }
  HRESULT CreateInstanceEnumAsync(Text, std::int32_t, IWbemContext*, IWbemObjectSink*) override {
    return WBEM_E_PROVIDER_NOT_CAPABLE;
  }
  HRESULT ExecQueryAsync(Text, Text, std::int32_t, IWbemContext*, IWbemObjectSink*) override {
    return WBEM_E_PROVIDER_NOT_CAPABLE;
  }

 private:
  using Request = std::function<HRESULT(IWbemServices& server, IWbemObjectSink* sink)>;

  // Starts the server and makes it the one that requests go to.
  HRESULT Connect();
  HRESULT Forward(IWbemObjectSink* sink, const Request& request);

  ModuleLock module_lock_;
  std::mutex mutex_;  // Guards what follows.
  std::u16string namespace_name_;
  ComPtr<IWbemServices> namespace_;
  ComPtr<IWbemContext> context_;
  ComPtr<IWbemServices> server_;
};

}  // namespace kelvarion
