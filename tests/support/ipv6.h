// Whether this machine speaks IPv6 at all; many containers do not.
#pragma once

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace kelvarion::testing {

inline bool HasIpv6Loopback() {
  const int probe = socket(AF_INET6, SOCK_STREAM, 0);
  if (probe < 0) return false;
  sockaddr_in6 address{};
  address.sin6_family = AF_INET6;
  address.sin6_addr = in6addr_loopback;
  const bool bound = bind(probe, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  close(probe);
  return bound;
}

}  // namespace kelvarion::testing
