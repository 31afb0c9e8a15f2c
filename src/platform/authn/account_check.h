// Whether a name and password are an account's of this machine, and who that account is.
#pragma once

#include <string>

#include "platform/authn/login.h"

namespace kelvarion::platform {

// Asks PAM and the home's local groups. Takes its time and runs the code of PAM's modules.
LoginAnswer CheckAccount(const std::string& home, const LoginRequest& request);

}  // namespace kelvarion::platform
