// The sink that another server gets instead of a client's own.
#pragma once

#include <mutex>

#include "platform/wmi/interfaces.h"
#include "provider/module.h"

namespace kelvarion {

class IWbemObjectSinkProxy : public IWbemObjectSink {
 public:
  static constexpr Guid kIid{
      0x5E0C9B2D, 0x7D41, 0x4C0B, {0x9E, 0x35, 0x16, 0xD8, 0x40, 0x6B, 0xF2, 0x71}};

  // Lets go of the client's sink; what comes afterwards reaches nobody.
  virtual HRESULT Detach() = 0;

 protected:
  ~IWbemObjectSinkProxy() = default;
};

// Passes everything on to the target until it is detached, then answers RPC_E_DISCONNECTED. Safe
// from any thread.
class CWbemObjectSinkProxy final : public ComObject<IWbemObjectSinkProxy> {
 public:
  explicit CWbemObjectSinkProxy(IWbemObjectSink* target) : target_(target) {}

  HRESULT QueryInterface(const Guid& iid, void** out) override;
  HRESULT Indicate(std::int32_t count, IWbemClassObject** objects) override;
  HRESULT SetStatus(std::int32_t flags, HRESULT result, const std::u16string* text,
                    IWbemClassObject* error) override;
  HRESULT Detach() override;

 private:
  ComPtr<IWbemObjectSink> Target();

  ModuleLock module_lock_;
  std::mutex mutex_;
  ComPtr<IWbemObjectSink> target_;
};

}  // namespace kelvarion
