// Control of the web server's service, KelvarionServer.
//
// Every call opens the service anew and keeps nothing. Start and stop return when the request has
// been accepted. All failures are Win32Exception with the service manager's error, the mapping of
// the account aside.
#pragma once

#include <cstdint>
#include <string>

#include "platform/security/security.h"
#include "platform/services/service_manager.h"

namespace kelvarion::services {

inline constexpr const char16_t* kServerServiceName = u"KelvarionServer";

platform::ServiceStatus QueryServerStatus(const platform::ServiceManager& manager);

void StartServer(platform::ServiceManager& manager);
void StopServer(platform::ServiceManager& manager);
// The server takes up its configuration without dropping connections, and has done so on return
// unless it needs a new process for it: then its state tells when it is up. A configuration that it
// could not run with is an error and leaves it running with the old one.
void RestartServer(platform::ServiceManager& manager);

// True once the service is in the state, false when `timeout_ms` have passed. Throws as soon as the
// service reports a non-zero exit code.
bool WaitForServerState(const platform::ServiceManager& manager, std::uint32_t state,
                        std::uint32_t timeout_ms);

// The SID of the account that serves the repositories. Throws SimpleException when the account's
// name cannot be mapped.
std::u16string GetServerServiceAccountSid(const platform::ServiceManager& manager,
                                          const platform::SecurityAuthority& authority);

}  // namespace kelvarion::services
