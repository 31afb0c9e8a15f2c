#include "tests/configurator/configurator.h"

#include "platform/com/class_object.h"
#include "platform/text/encoding.h"
#include "platform/wmi/services_base.h"

namespace kelvarion::testing {
namespace {

constexpr Guid kClass{0xA2AC77FD, 0x36C6, 0x4C2A, {0xB2, 0x38, 0xF8, 0x9B, 0x35, 0xDA, 0xA5, 0x70}};

std::mutex mutex;
Configurator configurator;

std::string Caller() {
  const ClientToken* token = nullptr;
  if (OpenThreadToken(token) != ERROR_SUCCESS) return " as nobody";
  return " as " + platform::Utf8ForDisplay(token->user_sid);
}

class Server final : public ComObject<platform::ServicesBase, IWbemProviderInit> {
 public:
  HRESULT Initialize(const std::u16string*, std::int32_t, const std::u16string& namespace_name,
                     const std::u16string*, IWbemServices*, IWbemContext*,
                     IWbemProviderInitSink* sink) override {
    const TheConfigurator my;
    my->calls.push_back("initialize " + platform::Utf8ForDisplay(namespace_name) + Caller());
    if (Failed(my->behaviour.initialize)) return my->behaviour.initialize;
    if (my->behaviour.late_init)
      my->init_sink = ComPtr<IWbemProviderInitSink>(sink);
    else
      sink->SetStatus(my->behaviour.init_status, 0);
    return my->behaviour.initialize;
  }

  HRESULT GetObjectAsync(Text path, std::int32_t, IWbemContext*, IWbemObjectSink* sink) override {
    return Answer("get " + platform::Utf8ForDisplay(path), sink);
  }
  HRESULT ExecMethodAsync(Text path, Text method, std::int32_t, IWbemContext*, IWbemClassObject*,
                          IWbemObjectSink* sink) override {
    return Answer(
        "method " + platform::Utf8ForDisplay(path) + " " + platform::Utf8ForDisplay(method), sink);
  }

 private:
  HRESULT Answer(const std::string& call, IWbemObjectSink* sink) const {
    const TheConfigurator my;
    if (my->generation != generation_) return HresultFromWin32(RPC_S_SERVER_UNAVAILABLE);
    my->calls.push_back(call + Caller());
    if (my->behaviour.late_answer) {
      my->sink = ComPtr<IWbemObjectSink>(sink);
    } else if (Succeeded(my->behaviour.answer)) {
      sink->Indicate(0, nullptr);
      sink->SetStatus(WBEM_STATUS_COMPLETE, S_OK, nullptr, nullptr);
    }
    return my->behaviour.answer;
  }

  const int generation_ = TheConfigurator()->generation;
};

class Factory final : public ComObject<IClassFactory> {
 public:
  HRESULT CreateInstance(IUnknown*, const Guid& iid, void** out) override {
    TheConfigurator()->calls.emplace_back("start");
    const HRESULT hr = TheConfigurator()->behaviour.start;
    return Failed(hr) ? hr : MakeCom<Server>()->QueryInterface(iid, out);
  }
  HRESULT LockServer(bool) override { return S_OK; }
};

}  // namespace

TheConfigurator::TheConfigurator() : lock_(mutex) {}
Configurator* TheConfigurator::operator->() const { return &configurator; }

extern "C" HRESULT DllGetClassObject(const Guid& class_id, const Guid& iid, void** out) {
  if (class_id != kClass) return CLASS_E_CLASSNOTAVAILABLE;
  return MakeCom<Factory>()->QueryInterface(iid, out);
}

}  // namespace kelvarion::testing
