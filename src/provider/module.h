// The provider library as hosts load it: its classes, their factories and their registration.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>

#include "platform/com/unknown.h"
#include "provider/registrar.h"

namespace kelvarion {

// One per library. Objects and locked factories hold the module; while anything holds it the
// library must stay loaded. Safe from any thread.
class CWMIProviderModule {
 public:
  static CWMIProviderModule& Instance();

  HRESULT GetClassObject(const Guid& class_id, const Guid& iid, void** out);
  bool CanUnload() const { return lock_count_.load() == 0; }
  void Lock() { ++lock_count_; }
  void Unlock() { --lock_count_; }

  // Run the registration scripts of all classes against the current machine's registry; the first
  // failure is the result.
  HRESULT Register(RegistrationScope scope);
  HRESULT Unregister(RegistrationScope scope);
  // The same as installers ask for it: the command line "user" stands for the current user's
  // classes, any other or none (null) for the machine's. A registration that fails is undone.
  HRESULT Install(bool install, const char16_t* command_line);

 private:
  CWMIProviderModule();
  HRESULT RunScripts(RegistrationScope scope,
                     HRESULT (Registrar::*run)(std::string_view script) const);

  std::atomic<std::int32_t> lock_count_{0};
  std::mutex mutex_;
};

// A member of every object that hosts may hold: the library stays loaded while the object lives.
class ModuleLock {
 public:
  ModuleLock() { CWMIProviderModule::Instance().Lock(); }
  ~ModuleLock() { CWMIProviderModule::Instance().Unlock(); }
  ModuleLock(const ModuleLock&) = delete;
  ModuleLock& operator=(const ModuleLock&) = delete;
};

}  // namespace kelvarion
