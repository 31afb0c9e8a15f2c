// The home: the one folder that holds all state of a server.
#pragma once

#include <memory>
#include <string>

#include "platform/machine/machine.h"

namespace kelvarion::host {

// Opens the home and throws UsageError, with what to do about it, when there is none or init has
// not finished making it.
std::shared_ptr<platform::Machine> OpenCompleteHome(const std::string& home);

// Set by init when everything is in place; only a complete home serves requests.
bool IsComplete(const platform::Registry& registry);
void MarkComplete(platform::Registry& registry);

}  // namespace kelvarion::host
