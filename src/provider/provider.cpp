#include "provider/provider.h"

#include "config/registry_accessor.h"
#include "provider/activity_registry.h"
#include "provider/client_access.h"
#include "wmi/context.h"

namespace kelvarion {

CKelvarionWMIProvider::CKelvarionWMIProvider(std::shared_ptr<platform::Machine> machine)
    : machine_(std::move(machine)),
      configuration_(std::make_shared<RegistryAccessor>(*machine_->registry)),
      events_(*machine_->event_log, configuration_) {}

CKelvarionWMIProvider::~CKelvarionWMIProvider() = default;

HRESULT CKelvarionWMIProvider::EnableTestMode(const std::u16string& key_path) {
  configuration_ = std::make_shared<RegistryAccessor>(
      *machine_->registry, platform::KeyPath{platform::RootKey::kCurrentUser, key_path});
  check_client_access_ = false;
  return S_OK;
}

HRESULT CKelvarionWMIProvider::CheckAccess(Impersonation& impersonation) {
  return check_client_access_ ? CheckClientAccess(events_, impersonation) : S_OK;
}

HRESULT CKelvarionWMIProvider::Initialize(const std::u16string*, std::int32_t,
                                          const std::u16string&, const std::u16string*,
                                          IWbemServices* services, IWbemContext* context,
                                          IWbemProviderInitSink* sink) {
  Impersonation impersonation;
  if (const HRESULT hr = CheckAccess(impersonation); Failed(hr)) return hr;
  if (!services || !sink) return WBEM_E_INVALID_PARAMETER;
  try {
    error_objects_ = std::make_unique<ErrorObjectFactory>(WMINamespace(services), context);
  } catch (...) {
    // Failures then reach clients as a status alone.
    LogCurrentException();
  }
  HRESULT status = WBEM_S_INITIALIZED;
  try {
    namespace_ = std::make_unique<WMINamespace>(services);
    handlers_ = std::make_unique<ClassHandlerTable>(*namespace_, context, *configuration_, events_,
                                                    *machine_);
  } catch (...) {
    LogCurrentException();
    status = WBEM_E_FAILED;
  }
  return sink->SetStatus(status, 0);
}

void CKelvarionWMIProvider::LogCurrentException() {
  try {
    throw;
  } catch (const Exception& exception) {
    events_.LogException(exception);
  } catch (...) {
    events_.LogUnknownException();
  }
}

HRESULT CKelvarionWMIProvider::Serve(IWbemObjectSink* sink, const Request& request) {
  Impersonation impersonation;
  if (const HRESULT hr = CheckAccess(impersonation); Failed(hr)) return hr;
  if (!sink || !handlers_) return WBEM_E_INVALID_PARAMETER;
  HRESULT status = S_OK;
  try {
    ResponseSink response{ComPtr<IWbemObjectSink>(sink)};
    status = request(response);
  } catch (...) {
    LogCurrentException();
    return CompleteWithException(*sink);
  }
  return sink->SetStatus(WBEM_STATUS_COMPLETE, status, nullptr, nullptr);
}

HRESULT CKelvarionWMIProvider::CompleteWithException(IWbemObjectSink& sink) {
  const auto simple = [&](HRESULT status, const Exception& exception) {
    return ReportFailure(sink, status,
                         [&] { return error_objects_->BuildSimple(status, exception.Message()); });
  };
  try {
    throw;
  } catch (const WMIException& exception) {
    return simple(exception.status(), exception);
  } catch (const LocalServerAdminException& exception) {
    return ReportFailure(sink, WBEM_E_FAILED,
                         [&] { return error_objects_->BuildExtended(WBEM_E_FAILED, exception); });
  } catch (const Exception& exception) {
    return simple(WBEM_E_FAILED, exception);
  } catch (...) {
    return sink.SetStatus(WBEM_STATUS_COMPLETE, WBEM_E_FAILED, nullptr, nullptr);
  }
}

HRESULT CKelvarionWMIProvider::ReportFailure(IWbemObjectSink& sink, HRESULT status,
                                             const std::function<WMIObject()>& build_error_object) {
  WMIObject error;
  try {
    if (error_objects_) error = build_error_object();
  } catch (...) {
    // The status still goes out, without an object.
    LogCurrentException();
  }
  const HRESULT hr = sink.SetStatus(WBEM_STATUS_COMPLETE, status, nullptr, error.object().Get());
  return Succeeded(hr) ? hr : status;
}

HRESULT CKelvarionWMIProvider::GetObjectAsync(Text path, std::int32_t, IWbemContext* context,
                                              IWbemObjectSink* sink) {
  return Serve(sink, [&](ResponseSink& response) {
    ParsedObjectPath parsed = namespace_->ParsePath(path);
    WMIObject object;
    const HRESULT hr = handlers_->FindByPath(parsed).GetObject(parsed, context, object);
    if (Failed(hr)) return hr;
    response.Indicate(object);
    return S_OK;
  });
}

HRESULT CKelvarionWMIProvider::PutInstanceAsync(IWbemClassObject* instance, std::int32_t,
                                                IWbemContext*, IWbemObjectSink* sink) {
  return Serve(sink, [&](ResponseSink&) {
    if (!instance) throw WMIException(WBEM_E_INVALID_PARAMETER);
    const WMIObject object{ComPtr<IWbemClassObject>(instance)};
    return handlers_->FindByName(object.ClassName()).PutInstance(object);
  });
}

HRESULT CKelvarionWMIProvider::DeleteInstanceAsync(Text path, std::int32_t, IWbemContext*,
                                                   IWbemObjectSink* sink) {
  return Serve(sink, [&](ResponseSink&) {
    ParsedObjectPath parsed = namespace_->ParsePath(path);
    return handlers_->FindByPath(parsed).DeleteInstance(parsed);
  });
}

HRESULT CKelvarionWMIProvider::CreateInstanceEnumAsync(Text class_name, std::int32_t,
                                                       IWbemContext* context,
                                                       IWbemObjectSink* sink) {
  return Serve(sink, [&](ResponseSink& response) {
    return handlers_->FindByName(class_name).EnumerateInstances(context, response);
  });
}

HRESULT CKelvarionWMIProvider::ExecMethodAsync(Text path, Text method, std::int32_t,
                                               IWbemContext* context, IWbemClassObject* in_params,
                                               IWbemObjectSink* sink) {
  return Serve(sink, [&](ResponseSink& response) {
    std::unique_ptr<ActivityRegistry::Activity> activity;
    if (const auto id = ContextText(context, u"ActivityId")) {
      activity = ActivityRegistry::OfProcess().Register(*id);
      if (!activity) throw SimpleException(u"Cannot register activity '%s'.", *id);
    }
    ParsedObjectPath parsed = namespace_->ParsePath(path);
    const WMIObject inputs{ComPtr<IWbemClassObject>(in_params)};
    return handlers_->FindByPath(parsed).ExecMethod(parsed, method, context, inputs, response,
                                                    activity.get());
  });
}

}  // namespace kelvarion
