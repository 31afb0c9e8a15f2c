#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/authn/account_check.h"
#include "platform/authn/login_service.h"

namespace kelvarion::platform {
namespace {

constexpr int kChannel = 3;

// Passwords pass through the memory of this process.
void KeepToItself() {
  prctl(PR_SET_DUMPABLE, 0);
  const rlimit none{0, 0};
  setrlimit(RLIMIT_CORE, &none);
  umask(077);
  fcntl(kChannel, F_SETFD, FD_CLOEXEC);
}

}  // namespace

int LoginServiceMain(const std::string& home) {
  KeepToItself();
  signal(SIGPIPE, SIG_IGN);
  if (chdir("/") != 0) return 1;
  LoginService service(
      Descriptor(kChannel),
      [&](const LoginRequest& request) { return CheckAccount(home, request); },
      OpenEventLogFolder(home + "/events"));
  service.Run();
  return 0;
}

}  // namespace kelvarion::platform
