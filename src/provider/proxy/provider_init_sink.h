// Waits for another provider's initialisation.
#pragma once

#include <condition_variable>
#include <mutex>
#include <optional>

#include "platform/wmi/interfaces.h"
#include "provider/module.h"

namespace kelvarion {

class IWbemProviderInitSinkImpl : public IWbemProviderInitSink {
 public:
  static constexpr Guid kIid{
      0xA3D1C8F4, 0x26B9, 0x4B7E, {0x83, 0x0F, 0x5C, 0xE2, 0x97, 0x14, 0xB8, 0x6D}};

  // Blocks until the provider has set its status, however long that takes; returns the status.
  virtual HRESULT Wait() = 0;

 protected:
  ~IWbemProviderInitSinkImpl() = default;
};

// Safe from any thread. A status that is set again replaces the one before.
class CWbemProviderInitSink final : public ComObject<IWbemProviderInitSinkImpl> {
 public:
  HRESULT QueryInterface(const Guid& iid, void** out) override;
  HRESULT SetStatus(HRESULT status, std::int32_t flags) override;
  HRESULT Wait() override;

 private:
  ModuleLock module_lock_;
  std::mutex mutex_;
  std::condition_variable set_;
  std::optional<HRESULT> status_;
};

}  // namespace kelvarion
