#include "services/server_service.h"

#include "errors/exception.h"
#include "platform/text/compare.h"
#include "services/service_control.h"

namespace kelvarion::services {

platform::ServiceStatus QueryServerStatus(const platform::ServiceManager& manager) {
  return QueryStatus(manager, kServerServiceName);
}

void StartServer(platform::ServiceManager& manager) { Start(manager, kServerServiceName); }

void StopServer(platform::ServiceManager& manager) { Stop(manager, kServerServiceName); }

void RestartServer(platform::ServiceManager& manager) { Restart(manager, kServerServiceName); }

bool WaitForServerState(const platform::ServiceManager& manager, std::uint32_t state,
                        std::uint32_t timeout_ms) {
  return WaitForState(manager, kServerServiceName, state, timeout_ms);
}

std::u16string GetServerServiceAccountSid(const platform::ServiceManager& manager,
                                          const platform::SecurityAuthority& authority) {
  std::u16string account = QueryConfig(manager, kServerServiceName).start_name;
  if (account.empty() || platform::EqualIgnoreCase(account, u"LocalSystem"))
    return platform::kSidLocalSystem;
  if (platform::EqualIgnoreCase(account, u"NT Authority\\NetworkService"))
    return platform::kSidNetworkService;
  constexpr std::u16string_view kLocal = u".\\";
  for (std::size_t at = 0; (at = account.find(kLocal, at)) != std::u16string::npos;)
    account.erase(at, kLocal.size());
  std::u16string sid;
  if (authority.LookupAccountName(account, sid) != ERROR_SUCCESS)
    throw SimpleException(u"Cannot map SID for service account '%s'", account);
  return sid;
}

}  // namespace kelvarion::services
