// The two ways to learn which sockets listen; both give the ports of one address family.
#pragma once

#include <cstdint>
#include <vector>

namespace kelvarion::platform {

// The kernel's socket diagnosis: quick, but refused in some containers. `family` is AF_INET or
// AF_INET6. False, and `out` untouched, when it does not answer.
bool AskKernelForListeners(std::uint8_t family, std::vector<std::uint16_t>& out);

// A table like /proc/net/tcp.
bool ReadTableOfListeners(const char* file, std::vector<std::uint16_t>& out);

}  // namespace kelvarion::platform
