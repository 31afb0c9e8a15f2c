#include "platform/com/class_object.h"

namespace kelvarion {
namespace {

thread_local const ClientToken* client = nullptr;
thread_local const ClientToken* impersonated = nullptr;

}  // namespace

ScopedClient::ScopedClient(ClientToken token)
    : previous_(client), previous_impersonated_(impersonated), token_(std::move(token)) {
  client = &token_;
  impersonated = nullptr;
}

ScopedClient::~ScopedClient() {
  impersonated = previous_impersonated_;
  client = previous_;
}

HRESULT CoImpersonateClient() {
  if (!client) return RPC_E_CALL_COMPLETE;
  impersonated = client;
  return S_OK;
}

HRESULT CoRevertToSelf() {
  impersonated = nullptr;
  return S_OK;
}

Win32Error OpenThreadToken(const ClientToken*& out) {
  out = impersonated;
  return impersonated ? ERROR_SUCCESS : ERROR_NO_TOKEN;
}

}  // namespace kelvarion
