// Whether a running web server would survive reading its configuration anew.
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

ReloadVerdict CheckReload(const Service& service, const ProcessIdentity& server,
                          std::string& reason);

}  // namespace kelvarion::platform
