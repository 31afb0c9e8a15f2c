// The machine's own word on a name and its password: PAM.
#pragma once

#include <string>

namespace kelvarion::platform {

struct PamService {
  std::string name;
  std::string folder;  // Where its file lies; empty for where the system keeps them.
};

// The service "kelvarion": the home's own file in `own_folder`, else the machine's in /etc/pam.d,
// else the one that comes with the program.
PamService FindPamService(const std::string& own_folder);

struct PamAnswer {
  enum Kind { kAccepted, kRefused, kFailed } kind = kFailed;
  std::string text;  // The name that PAM gives the account, or the reason.
};

// Whether the password is that of the account and the account may be used now. All UTF-8. Takes as
// long as PAM's modules take, which may fail in ways of their own: for a process of its own.
PamAnswer AskPam(const PamService& service, const std::string& name, const std::string& password,
                 const std::string& client);

}  // namespace kelvarion::platform
