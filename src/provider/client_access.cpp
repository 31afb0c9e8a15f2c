#include "provider/client_access.h"

#include "platform/com/class_object.h"

namespace kelvarion {
namespace {

// Looks at the client's token without staying impersonated.
HRESULT QueryImpersonationLevel(ImpersonationLevel& level) {
  Impersonation impersonation;
  if (const HRESULT hr = impersonation.Begin(); Failed(hr)) return hr;
  const ClientToken* token = nullptr;
  if (const Win32Error error = OpenThreadToken(token)) return HresultFromWin32(error);
  level = token->level;
  return level <= ImpersonationLevel::kDelegation ? S_OK : Code(0x8007FFFF);
}

}  // namespace

Impersonation::~Impersonation() {
  if (active_) CoRevertToSelf();
}

HRESULT Impersonation::Begin() {
  const HRESULT hr = CoImpersonateClient();
  active_ = Succeeded(hr);
  return hr;
}

HRESULT CheckClientAccess(EventRecorder& events, Impersonation& impersonation) {
  ImpersonationLevel level{};
  HRESULT hr = QueryImpersonationLevel(level);
  if (Succeeded(hr)) {
    if (level < ImpersonationLevel::kImpersonation) {
      events.LogAccessDenied();
      return WBEM_E_ACCESS_DENIED;
    }
    hr = impersonation.Begin();
  }
  if (Failed(hr)) events.LogImpersonationFailure(hr);
  return hr;
}

}  // namespace kelvarion
