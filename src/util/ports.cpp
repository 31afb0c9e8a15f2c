#include "util/ports.h"

#include <algorithm>

#include "errors/exception.h"
#include "platform/network/network.h"

namespace kelvarion::util {

bool IsTcpPortInUse(std::uint32_t port) {
  std::vector<std::uint16_t> listening;
  if (const Win32Error error = platform::GetListeningTcpPorts(listening))
    throw Win32Exception(error, u"Cannot get tcp table");
  if (std::ranges::count(listening, port)) return true;
  if (const Win32Error error = platform::GetListeningTcp6Ports(listening))
    throw Win32Exception(error, u"Cannot get ipv6 tcp table");
  return std::ranges::count(listening, port) != 0;
}

}  // namespace kelvarion::util
