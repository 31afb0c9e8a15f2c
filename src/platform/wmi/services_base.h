// A namespace or provider that offers nothing: the base of those that offer some requests.
#pragma once

#include "platform/wmi/interfaces.h"

namespace kelvarion::platform {

// Every request is answered WBEM_E_NOT_SUPPORTED unless a derived class overrides it.
class ServicesBase : public IWbemServices {
 public:
  static constexpr Guid kIid = IWbemServices::kIid;
  using Objects = std::vector<ComPtr<IWbemClassObject>>;

  HRESULT OpenNamespace(Text, std::int32_t, IWbemContext*, IWbemServices**) override {
    return WBEM_E_NOT_SUPPORTED;
  }
  HRESULT CancelAsyncCall(IWbemObjectSink*) override { return WBEM_E_NOT_SUPPORTED; }
  HRESULT QueryObjectSink(std::int32_t, IWbemObjectSink**) override { return WBEM_E_NOT_SUPPORTED; }
  HRESULT GetObject(Text, std::int32_t, IWbemContext*, IWbemClassObject**) override {
    return WBEM_E_NOT_SUPPORTED;
  }
  HRESULT GetObjectAsync(Text, std::int32_t, IWbemContext*, IWbemObjectSink*) override {
    return WBEM_E_NOT_SUPPORTED;
  }
  HRESULT PutClass(IWbemClassObject*, std::int32_t, IWbemContext*) override {
    return WBEM_E_NOT_SUPPORTED;
  }
  HRESULT PutClassAsync(IWbemClassObject*, std::int32_t, IWbemContext*, IWbemObjectSink*) override {
    return WBEM_E_NOT_SUPPORTED;
  }
  HRESULT DeleteClass(Text, std::int32_t, IWbemContext*) override { return WBEM_E_NOT_SUPPORTED; }
  HRESULT DeleteClassAsync(Text, std::int32_t, IWbemContext*, IWbemObjectSink*) override {
    return WBEM_E_NOT_SUPPORTED;
  }
  HRESULT CreateClassEnum(Text, std::int32_t, IWbemContext*, Objects*) override {
    return WBEM_E_NOT_SUPPORTED;
  }
  HRESULT CreateClassEnumAsync(Text, std::int32_t, IWbemContext*, IWbemObjectSink*) override {
    return WBEM_E_NOT_SUPPORTED;
  }
  HRESULT PutInstance(IWbemClassObject*, std::int32_t, IWbemContext*) override {
    return WBEM_E_NOT_SUPPORTED;
  }
  HRESULT PutInstanceAsync(IWbemClassObject*, std::int32_t, IWbemContext*,
                           IWbemObjectSink*) override {
    return WBEM_E_NOT_SUPPORTED;
  }
  HRESULT DeleteInstance(Text, std::int32_t, IWbemContext*) override {
    return WBEM_E_NOT_SUPPORTED;
  }
  HRESULT DeleteInstanceAsync(Text, std::int32_t, IWbemContext*, IWbemObjectSink*) override {
    return WBEM_E_NOT_SUPPORTED;
  }
  HRESULT CreateInstanceEnum(Text, std::int32_t, IWbemContext*, Objects*) override {
    return WBEM_E_NOT_SUPPORTED;
  }
  HRESULT CreateInstanceEnumAsync(Text, std::int32_t, IWbemContext*, IWbemObjectSink*) override {
    return WBEM_E_NOT_SUPPORTED;
  }
  HRESULT ExecQuery(Text, Text, std::int32_t, IWbemContext*, Objects*) override {
    return WBEM_E_NOT_SUPPORTED;
  }
  HRESULT ExecQueryAsync(Text, Text, std::int32_t, IWbemContext*, IWbemObjectSink*) override {
    return WBEM_E_NOT_SUPPORTED;
  }
  HRESULT ExecNotificationQuery(Text, Text, std::int32_t, IWbemContext*, Objects*) override {
    return WBEM_E_NOT_SUPPORTED;
  }
  HRESULT ExecNotificationQueryAsync(Text, Text, std::int32_t, IWbemContext*,
                                     IWbemObjectSink*) override {
    return WBEM_E_NOT_SUPPORTED;
  }
  HRESULT ExecMethod(Text, Text, std::int32_t, IWbemContext*, IWbemClassObject*,
                     IWbemClassObject**) override {
    return WBEM_E_NOT_SUPPORTED;
  }
  HRESULT ExecMethodAsync(Text, Text, std::int32_t, IWbemContext*, IWbemClassObject*,
                          IWbemObjectSink*) override {
    return WBEM_E_NOT_SUPPORTED;
  }

 protected:
  ~ServicesBase() = default;
};

}  // namespace kelvarion::platform
