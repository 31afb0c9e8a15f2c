#include "services/server_control.h"

#include <chrono>
#include <thread>

#include "errors/exception.h"
#include "services/server_service.h"

namespace kelvarion::services {
namespace {

using platform::ServiceManager;

std::uint32_t StateOf(const ServiceManager& manager) {
  return QueryServerStatus(manager).current_state;
}

[[noreturn]] void Fail(const ServiceManager& manager, const std::u16string& what) {
  const std::u16string reason = manager.LastFailure(kServerServiceName);
  if (reason.empty()) throw SimpleException(u"%s.", what);
  throw SimpleException(u"%s: %s", what, reason);
}

// Makes the request; the server's own words stand beside those of the service manager.
void Request(ServiceManager& manager, void (*request)(ServiceManager&), const char16_t* what) {
  try {
    request(manager);
  } catch (const Win32Exception& exception) {
    if (manager.LastFailure(kServerServiceName).empty()) throw;
    Fail(manager, what);
  }
}

// False when the time is over.
template <class Done>
bool Wait(const IcCancelCallback& cancel, const Done& done) {
  using Clock = std::chrono::steady_clock;
  constexpr std::chrono::seconds kPatience{60};
  constexpr std::chrono::milliseconds kPoll{100};
  for (const Clock::time_point end = Clock::now() + kPatience; !done();) {
    if (cancel.IsCancelled()) throw WMIException(WBEM_E_CALL_CANCELLED);
    if (Clock::now() > end) return false;
    std::this_thread::sleep_for(kPoll);
  }
  return true;
}

// Until the server runs or is stopped, and nothing else is under way.
void Settle(const ServiceManager& manager, const IcCancelCallback& cancel) {
  const bool settled = Wait(cancel, [&] {
    const std::uint32_t state = StateOf(manager);
    return state == platform::SERVICE_RUNNING || state == platform::SERVICE_STOPPED;
  });
  if (!settled) {
    throw SimpleException(
        u"The web server is still starting or stopping. What it is told in the meantime it would "
        u"refuse; try again later.");
  }
}

// Who was to see to it may have been killed; as long as he lives, this is refused.
void StopAgain(ServiceManager& manager) {
  try {
    StopServer(manager);
  } catch (const Win32Exception&) {
  }
}

}  // namespace

bool StartServerAndWait(ServiceManager& manager, const IcCancelCallback& cancel) {
  Settle(manager, cancel);
  if (StateOf(manager) == platform::SERVICE_RUNNING) return false;
  constexpr const char16_t* kFailed = u"The web server did not start";
  Request(manager, StartServer, kFailed);
  Settle(manager, cancel);
  if (StateOf(manager) != platform::SERVICE_RUNNING) Fail(manager, kFailed);
  return true;
}

bool StopServerAndWait(ServiceManager& manager, const IcCancelCallback& cancel) {
  const std::uint32_t state = StateOf(manager);
  if (state == platform::SERVICE_STOPPED) return false;
  if (state == platform::SERVICE_STOP_PENDING)
    StopAgain(manager);
  else
    Request(manager, StopServer, u"The web server cannot be stopped");
  const bool stopped = Wait(cancel, [&] { return StateOf(manager) == platform::SERVICE_STOPPED; });
  if (!stopped) {
    throw SimpleException(
        u"The web server is still answering requests; it ends as soon as it is done.");
  }
  return true;
}

void RestartServerAndWait(ServiceManager& manager, const IcCancelCallback& cancel) {
  Settle(manager, cancel);
  if (StateOf(manager) == platform::SERVICE_STOPPED) {
    StartServerAndWait(manager, cancel);
    return;
  }
  const std::int64_t before = manager.ConfigurationTime(kServerServiceName);
  Request(manager, RestartServer, u"The web server serves on with its old configuration");
  const bool ended = Wait(cancel, [&] {
    return StateOf(manager) == platform::SERVICE_STOPPED ||
           manager.ConfigurationTime(kServerServiceName) > before;
  });
  if (StateOf(manager) == platform::SERVICE_STOPPED)
    Fail(manager, u"The web server ended when it was to take its configuration up");
  if (!ended) throw SimpleException(u"The web server has not taken its configuration up so far.");
}

}  // namespace kelvarion::services
