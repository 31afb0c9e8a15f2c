// The forms in which clients name accounts, and the one in which the server does.
#pragma once

#include <string>
#include <vector>

namespace kelvarion::platform {

// The names by which the system may know the account that a client calls `name` (UTF-8), the
// likeliest first; never none. NAME, .\NAME and HOST\NAME are the machine's own NAME; DOMAIN\NAME
// is as it stands. With `upn`, NAME@HOST is the machine's own too, and NAME@DOMAIN may be
// DOMAIN\NAME.
std::vector<std::string> SystemNames(const std::string& name, bool upn);

// The name of the system's account `name` as the server shows it: itself, or with `upn`
// NAME@DOMAIN, where the domain of the machine's own accounts is the machine.
std::string ShownName(const std::string& name, bool upn);

}  // namespace kelvarion::platform
