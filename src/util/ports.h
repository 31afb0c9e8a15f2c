// The TCP ports that programs of this machine listen on.
#pragma once

#include <cstdint>

namespace kelvarion::util {

// Whether anybody listens on the port now, over IPv4 or IPv6. Fails with Win32Exception
// "Cannot get tcp table" or "Cannot get ipv6 tcp table".
bool IsTcpPortInUse(std::uint32_t port);

}  // namespace kelvarion::util
