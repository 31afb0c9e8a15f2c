#include "provider/module.h"

#include "platform/com/class_object.h"
#include "platform/machine/machine.h"
#include "platform/text/compare.h"
#include "provider/provider.h"
#include "util/resources.h"

namespace kelvarion {
namespace {

HRESULT CreateProvider(const Guid& iid, void** out) {
  auto machine = platform::CurrentMachine();
  if (!machine) return E_UNEXPECTED;
  return MakeCom<CKelvarionWMIProvider>(std::move(machine))->QueryInterface(iid, out);
}

class ClassFactory final : public ComObject<IClassFactory> {
 public:
  using Creator = HRESULT (*)(const Guid& iid, void** out);
  explicit ClassFactory(Creator create) : create_(create) {}

  HRESULT CreateInstance(IUnknown* outer, const Guid& iid, void** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (outer) return CLASS_E_NOAGGREGATION;
    try {
      return create_(iid, out);
    } catch (...) {
      return E_OUTOFMEMORY;
    }
  }
  HRESULT LockServer(bool lock) override {
    lock ? CWMIProviderModule::Instance().Lock() : CWMIProviderModule::Instance().Unlock();
    return S_OK;
  }

 private:
  Creator create_;
};

// The library's classes: identifier, registration script, how an object is made. The factory is
// made on first use and kept.
struct ClassEntry {
  Guid class_id;
  const char16_t* script;
  ClassFactory::Creator create;
  ComPtr<IClassFactory> factory;
};

ClassEntry class_map[] = {
    {CLSID_KelvarionWMIProvider, u"102", CreateProvider, nullptr},
};

}  // namespace

CWMIProviderModule& CWMIProviderModule::Instance() {
  static CWMIProviderModule module;
  return module;
}

HRESULT CWMIProviderModule::GetClassObject(const Guid& class_id, const Guid& iid, void** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  for (ClassEntry& entry : class_map) {
    if (entry.class_id != class_id) continue;
    const std::lock_guard lock(mutex_);
    if (!entry.factory) entry.factory = MakeCom<ClassFactory>(entry.create);
    return entry.factory->QueryInterface(iid, out);
  }
  return CLASS_E_CLASSNOTAVAILABLE;
}

HRESULT CWMIProviderModule::Register(RegistrationScope scope) {
  return RunScripts(scope, &Registrar::Register);
}

HRESULT CWMIProviderModule::Unregister(RegistrationScope scope) {
  return RunScripts(scope, &Registrar::Unregister);
}

HRESULT CWMIProviderModule::Install(bool install, const char16_t* command_line) {
  const bool for_user = command_line && platform::EqualIgnoreCase(command_line, u"user");
  const RegistrationScope scope = for_user ? RegistrationScope::kUser : RegistrationScope::kMachine;
  if (!install) return Unregister(scope);
  const HRESULT hr = Register(scope);
  if (Failed(hr)) Unregister(scope);
  return hr;
}

HRESULT CWMIProviderModule::RunScripts(RegistrationScope scope,
                                       HRESULT (Registrar::*run)(std::string_view script) const) {
  const auto machine = platform::CurrentMachine();
  if (!machine) return E_UNEXPECTED;
  const Registrar registrar(*machine->registry, ModulePath(&class_map), scope);
  for (const ClassEntry& entry : class_map) {
    const HRESULT hr = (registrar.*run)(util::LoadResource(u"REGISTRY", entry.script));
    if (Failed(hr)) return hr;
  }
  return S_OK;
}

}  // namespace kelvarion
