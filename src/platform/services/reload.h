// How a running web server reads its configuration anew, and whether it would survive that.
//
// A server that is told to do so reads the files itself and dies of a mistake in them; so the
// question is answered by a second process before.
#pragma once

#include <string>

#include "platform/services/process_identity.h"
#include "platform/services/service.h"

namespace kelvarion::platform {

enum class ReloadVerdict {
  kGraceful,         // It can take the configuration up while it serves.
  kNeedsNewProcess,  // The addresses overlap those it holds: only a new process can have them.
  kRefused,          // It could not run with this configuration; `reason` says why.
};

// What the service's program says against its configuration as it is on the disk; empty when it
// could run with it, as far as the program can tell without running.
std::string WhyUnusable(const Service& service);

ReloadVerdict CheckReload(const Service& service, const ProcessIdentity& server,
                          std::string& reason);

// Makes the server take its configuration up while it serves, and returns when it has or has died,
// after some seconds at most. False when it cannot be told to.
bool Reload(const Service& service, const ProcessIdentity& server);

}  // namespace kelvarion::platform
