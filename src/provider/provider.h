// The object that a host creates to serve the system's management classes.
#pragma once

#include <functional>
#include <memory>

#include "platform/machine/machine.h"
#include "platform/wmi/services_base.h"
#include "provider/class_handler_table.h"
#include "provider/error_object_factory.h"
#include "provider/events.h"
#include "provider/module.h"

namespace kelvarion {

// Lets a test host drive the provider without a client: settings come from a key of the current
// user and requests run without a client. There is no way back; call it before Initialize.
class IKelvarionWmiProviderTestMode : public IUnknown {
 public:
  static constexpr Guid kIid{
      0x931F33F5, 0x525B, 0x4613, {0xA5, 0xA7, 0xD0, 0xE2, 0x81, 0x15, 0xDD, 0x9A}};

  virtual HRESULT EnableTestMode(const std::u16string& key_path) = 0;

 protected:
  ~IKelvarionWmiProviderTestMode() = default;
};

// Initialize comes once and first; then any number of requests on any threads at the same time.
// No exception leaves an entry point: a failure becomes a status and an error object.
class CKelvarionWMIProvider final
    : public ComObject<platform::ServicesBase, IWbemProviderInit, IKelvarionWmiProviderTestMode> {
 public:
  explicit CKelvarionWMIProvider(std::shared_ptr<platform::Machine> machine);

  HRESULT Initialize(const std::u16string* user, std::int32_t flags,
                     const std::u16string& namespace_name, const std::u16string* locale,
                     IWbemServices* services, IWbemContext* context,
                     IWbemProviderInitSink* sink) override;
  HRESULT EnableTestMode(const std::u16string& key_path) override;

  HRESULT GetObjectAsync(Text path, std::int32_t flags, IWbemContext* context,
                         IWbemObjectSink* sink) override;
  HRESULT PutInstanceAsync(IWbemClassObject* instance, std::int32_t flags, IWbemContext* context,
                           IWbemObjectSink* sink) override;
  HRESULT DeleteInstanceAsync(Text path, std::int32_t flags, IWbemContext* context,
                              IWbemObjectSink* sink) override;
  HRESULT CreateInstanceEnumAsync(Text class_name, std::int32_t flags, IWbemContext* context,
                                  IWbemObjectSink* sink) override;
  HRESULT ExecMethodAsync(Text path, Text method, std::int32_t flags, IWbemContext* context,
                          IWbemClassObject* in_params, IWbemObjectSink* sink) override;

 private:
  ~CKelvarionWMIProvider() override;

  // What all requests share: access check, sink, the request itself, its status or failure.
  using Request = std::function<HRESULT(ResponseSink&)>;
  HRESULT Serve(IWbemObjectSink* sink, const Request& request);
  // Turns the exception in flight into the final status; called in a catch block.
  HRESULT CompleteWithException(IWbemObjectSink& sink);
  // Logs the exception in flight.
  void LogCurrentException();
  HRESULT ReportFailure(IWbemObjectSink& sink, HRESULT status,
                        const std::function<WMIObject()>& build_error_object);
  HRESULT CheckAccess(class Impersonation& impersonation);

  ModuleLock module_lock_;
  std::shared_ptr<platform::Machine> machine_;
  std::shared_ptr<IcRegistryAccessor> configuration_;
  EventRecorder events_;
  bool check_client_access_ = true;
  std::unique_ptr<WMINamespace> namespace_;
  std::unique_ptr<ErrorObjectFactory> error_objects_;
  std::unique_ptr<ClassHandlerTable> handlers_;
};

}  // namespace kelvarion
