// Finding class objects by identifier, and the client that a thread works for.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/com/unknown.h"

namespace kelvarion {

// ---- Class objects ----

// Makes a class available to this process without registration. The factory is kept until the
// process ends. Safe from any thread.
void CoRegisterClassObject(const Guid& class_id, ComPtr<IClassFactory> factory);

// How a class that is not registered in the process is found: the path of the shared library that
// serves it, UTF-8; empty when nobody does.
using ClassLocator = std::function<std::string(const Guid& class_id)>;
void SetClassLocator(ClassLocator locator);

// Asks the process's own classes, then loads the library that the locator names and asks its
// DllGetClassObject. REGDB_E_CLASSNOTREG when nobody serves the class; a library that does not load
// is ERROR_MOD_NOT_FOUND, with the loader's reason in LastLoadError. Libraries stay loaded.
HRESULT CoGetClassObject(const Guid& class_id, const Guid& iid, void** out);
HRESULT CoCreateInstance(const Guid& class_id, const Guid& iid, void** out);

// Why the last library of this thread did not load, for people. Empty when none failed.
const std::string& LastLoadError();

// The file of the library or program that the address lies in; empty when it lies in none.
std::u16string ModulePath(const void* address);

// ---- The calling client ----

enum class ImpersonationLevel : std::uint32_t {
  kAnonymous = 0,
  kIdentification = 1,
  kImpersonation = 2,
  kDelegation = 3,
};

// Who a client is, as accounts know it.
struct ClientToken {
  std::u16string user_sid;
  std::vector<std::u16string> group_sids;
  ImpersonationLevel level = ImpersonationLevel::kImpersonation;
};

// Makes `token` the client of the calls that this thread makes while the object lives. Then the
// client before it is back, impersonated if it was.
class ScopedClient {
 public:
  explicit ScopedClient(ClientToken token);
  ~ScopedClient();
  ScopedClient(const ScopedClient&) = delete;
  ScopedClient& operator=(const ScopedClient&) = delete;

 private:
  const ClientToken* previous_;
  const ClientToken* previous_impersonated_;
  ClientToken token_;
};

// Gives this thread the token of its client; RPC_E_CALL_COMPLETE when the thread serves none.
HRESULT CoImpersonateClient();
HRESULT CoRevertToSelf();

// The token of the thread while it impersonates, else ERROR_NO_TOKEN. Valid until the revert.
Win32Error OpenThreadToken(const ClientToken*& out);

}  // namespace kelvarion
