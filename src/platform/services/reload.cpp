#include "platform/services/reload.h"

#include <cstring>

#include "platform/services/failure_text.h"
#include "platform/services/listeners.h"
#include "platform/services/program.h"

namespace kelvarion::platform {
namespace {

constexpr int kCheckTimeoutMs = 30'000;

}  // namespace

ReloadVerdict CheckReload(const Service& service, const ProcessIdentity& server,
                          std::string& reason) {
  std::vector<std::string> arguments = service.check_arguments;
  arguments.insert(arguments.end(), service.arguments.begin(), service.arguments.end());
  const ProgramResult check = RunProgram(service.program, arguments, kCheckTimeoutMs);
  if (!check.Succeeded()) {
    reason = check.error != 0 ? service.program + ": " + std::strerror(check.error)
                              : PlainWords(check.output);
    if (reason.empty()) reason = "The configuration could not be checked.";
    return ReloadVerdict::kRefused;
  }
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

}  // namespace kelvarion::platform
