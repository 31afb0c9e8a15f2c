// The entry points of IWbemServices that a provider of instances and methods does not have.
#pragma once

#include "platform/wmi/interfaces.h"

namespace kelvarion {

// Every one of them answers WBEM_E_NOT_SUPPORTED at once.
class UnsupportedServices : public IWbemServices {
 public:
  using Objects = std::vector<ComPtr<IWbemClassObject>>;

  HRESULT OpenNamespace(Text, std::int32_t, IWbemContext*, IWbemServices**) override { return kNotSupported; }
  HRESULT CancelAsyncCall(IWbemObjectSink*) override { return kNotSupported; }
  HRESULT QueryObjectSink(std::int32_t, IWbemObjectSink**) override { return kNotSupported; }
  HRESULT GetObject(Text, std::int32_t, IWbemContext*, IWbemClassObject**) override { return kNotSupported; }
  HRESULT PutClass(IWbemClassObject*, std::int32_t, IWbemContext*) override { return kNotSupported; }
  HRESULT PutClassAsync(IWbemClassObject*, std::int32_t, IWbemContext*, IWbemObjectSink*) override { return kNotSupported; }
  HRESULT DeleteClass(Text, std::int32_t, IWbemContext*) override { return kNotSupported; }
  HRESULT DeleteClassAsync(Text, std::int32_t, IWbemContext*, IWbemObjectSink*) override { return kNotSupported; }
  HRESULT CreateClassEnum(Text, std::int32_t, IWbemContext*, Objects*) override { return kNotSupported; }
  HRESULT CreateClassEnumAsync(Text, std::int32_t, IWbemContext*, IWbemObjectSink*) override { return kNotSupported; }
  HRESULT PutInstance(IWbemClassObject*, std::int32_t, IWbemContext*) override { return kNotSupported; }
  HRESULT DeleteInstance(Text, std::int32_t, IWbemContext*) override { return kNotSupported; }
  HRESULT CreateInstanceEnum(Text, std::int32_t, IWbemContext*, Objects*) override { return kNotSupported; }
  HRESULT ExecQuery(Text, Text, std::int32_t, IWbemContext*, Objects*) override { return kNotSupported; }
  HRESULT ExecQueryAsync(Text, Text, std::int32_t, IWbemContext*, IWbemObjectSink*) override { return kNotSupported; }
  HRESULT ExecNotificationQuery(Text, Text, std::int32_t, IWbemContext*, Objects*) override { return kNotSupported; }
  HRESULT ExecNotificationQueryAsync(Text, Text, std::int32_t, IWbemContext*, IWbemObjectSink*) override { return kNotSupported; }
  HRESULT ExecMethod(Text, Text, std::int32_t, IWbemContext*, IWbemClassObject*, IWbemClassObject**) override { return kNotSupported; }

 protected:
  ~UnsupportedServices() = default;

 private:
  static constexpr HRESULT kNotSupported = WBEM_E_NOT_SUPPORTED;
};

}  // namespace kelvarion
