// The entry points by which hosts and installers reach the library's classes.

#include "platform/com/types.h"
#include "provider/module.h"

using kelvarion::CWMIProviderModule;
using kelvarion::HRESULT;
using kelvarion::RegistrationScope;

namespace {

// Made when the library is loaded, not when the first class is asked for.
[[maybe_unused]] const CWMIProviderModule& module = CWMIProviderModule::Instance();

}  // namespace

extern "C" {

HRESULT DllGetClassObject(const kelvarion::Guid& class_id, const kelvarion::Guid& iid, void** out) {
  return CWMIProviderModule::Instance().GetClassObject(class_id, iid, out);
}

HRESULT DllCanUnloadNow() {
  return CWMIProviderModule::Instance().CanUnload() ? kelvarion::S_OK : kelvarion::S_FALSE;
}

HRESULT DllRegisterServer() {
  return CWMIProviderModule::Instance().Register(RegistrationScope::kMachine);
}

HRESULT DllUnregisterServer() {
  return CWMIProviderModule::Instance().Unregister(RegistrationScope::kMachine);
}

HRESULT DllInstall(std::int32_t install, const char16_t* command_line) {
  return CWMIProviderModule::Instance().Install(install != 0, command_line);
}
}
