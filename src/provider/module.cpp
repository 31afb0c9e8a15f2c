#include "provider/module.h"

#include "platform/com/class_object.h"
#include "platform/com/global_options.h"
#include "platform/machine/machine.h"
#include "platform/text/system_locale.h"
#include "provider/class_ids.h"
#include "provider/provider.h"
#include "provider/proxy/repo_manager_provider_proxy.h"
#include "util/resources.h"

namespace kelvarion {
namespace {

HRESULT CreateProvider(const Guid& iid, void** out) {
  auto machine = platform::CurrentMachine();
  if (!machine) return E_UNEXPECTED;
  return MakeCom<CKelvarionWMIProvider>(std::move(machine))->QueryInterface(iid, out);
}

HRESULT CreateProxy(const Guid& iid, void** out) {
  return MakeCom<CRepoManagerProviderProxy>()->QueryInterface(iid, out);
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
    {CLSID_RepoManagerProviderProxy, u"103", CreateProxy, nullptr},
};

// Whether the text is "user" in whatever case: five characters are looked at, the end being one.
bool NamesUserScope(const char16_t* text) {
  constexpr char16_t kUser[] = u"user";
  if (!text) return false;
  for (std::size_t i = 0; i < std::size(kUser); ++i) {
    const bool upper = text[i] >= u'A' && text[i] <= u'Z';
    if ((upper ? text[i] - u'A' + u'a' : text[i]) != kUser[i]) return false;
  }
  return true;
}

}  // namespace

CWMIProviderModule::CWMIProviderModule() {
  ComPtr<IGlobalOptions> options;
  if (Succeeded(CoCreateInstance(CLSID_GlobalOptions, IGlobalOptions::kIid, options.PutVoid())))
    options->Set(COMGLB_EXCEPTION_HANDLING, COMGLB_EXCEPTION_DONOT_HANDLE_ANY);
}

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
    try {
      if (!entry.factory) entry.factory = MakeCom<ClassFactory>(entry.create);
    } catch (const std::bad_alloc&) {
      return E_OUTOFMEMORY;
    }
    return entry.factory->QueryInterface(iid, out);
  }
  return CLASS_E_CLASSNOTAVAILABLE;
}

HRESULT CWMIProviderModule::Register(RegistrationScope scope) {
  const platform::ScopedSystemLocale locale;
  return RunScripts(scope, &Registrar::Register);
}

HRESULT CWMIProviderModule::Unregister(RegistrationScope scope) {
  return RunScripts(scope, &Registrar::Unregister);
}

HRESULT CWMIProviderModule::Install(bool install, const char16_t* command_line) {
  const RegistrationScope scope =
      NamesUserScope(command_line) ? RegistrationScope::kUser : RegistrationScope::kMachine;
  if (!install) return Unregister(scope);
  const HRESULT hr = Register(scope);
  if (Failed(hr)) Unregister(scope);
  return hr;
}

HRESULT CWMIProviderModule::RunScripts(RegistrationScope scope,
                                       HRESULT (Registrar::*run)(std::string_view script) const) {
  const auto machine = platform::CurrentMachine();
  if (!machine) return E_UNEXPECTED;
  HRESULT result = S_OK;
  try {
    const Registrar registrar(*machine->registry, ModulePath(&class_map), scope);
    for (const ClassEntry& entry : class_map) {
      const HRESULT hr = (registrar.*run)(util::LoadResource(u"REGISTRY", entry.script));
      if (Succeeded(result)) result = hr;
    }
  } catch (...) {
    return E_OUTOFMEMORY;
  }
  return result;
}

}  // namespace kelvarion
