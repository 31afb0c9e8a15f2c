#include "platform/services/reload.h"

#include <signal.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <thread>

#include "platform/services/failure_text.h"
#include "platform/services/listeners.h"
#include "platform/services/program.h"

namespace kelvarion::platform {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kCheckTimeoutMs = 30'000;
constexpr std::chrono::seconds kPatience{10};
constexpr std::chrono::milliseconds kPoll{10};

std::filesystem::file_time_type PidFileTime(const Service& service) {
  std::error_code error;
  return std::filesystem::last_write_time(service.File(".pid"), error);
}

}  // namespace

std::string WhyUnusable(const Service& service) {
  std::vector<std::string> arguments = service.check_arguments;
  arguments.insert(arguments.end(), service.arguments.begin(), service.arguments.end());
  const ProgramResult check = RunProgram(service.program, arguments, kCheckTimeoutMs);
  if (check.Succeeded()) return "";
  if (check.error != 0) return service.program + ": " + std::strerror(check.error);
  const std::string reason = PlainWords(check.output);
  return reason.empty() ? "The configuration could not be checked." : reason;
}

ReloadVerdict CheckReload(const Service& service, const ProcessIdentity& server,
                          std::string& reason) {
  reason = WhyUnusable(service);
  if (!reason.empty()) return ReloadVerdict::kRefused;
  const std::vector<ListenAddress> addresses = ReadListenAddresses(service.configuration);
  switch (CheckListenAddresses(addresses, server, reason)) {
    case ListenVerdict::kReady:
      return ReloadVerdict::kGraceful;
    case ListenVerdict::kHeldByUs:
      return ReloadVerdict::kNeedsNewProcess;
    case ListenVerdict::kRefused:
      break;
  }
  return ReloadVerdict::kRefused;
}

// The server writes its pid file again when the new configuration is in force. Until then clients
// would still meet the old one.
bool Reload(const Service& service, const ProcessIdentity& server) {
  const auto before = PidFileTime(service);
  // While it carries out an earlier request it ignores the signal, and the change with it.
  if (!SignalWhenCaught(server, SIGUSR1)) return false;
  const Clock::time_point end = Clock::now() + kPatience;
  while (PidFileTime(service) == before && IsRunning(server) && Clock::now() < end)
    std::this_thread::sleep_for(kPoll);
  return true;
}

}  // namespace kelvarion::platform
