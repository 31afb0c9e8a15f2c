#include "util/ports.h"

#include <algorithm>

#include "errors/exception.h"
#include "platform/network/network.h"

namespace kelvarion::util {

bool IsTcpPortInUse(std::uint32_t port) {
  const auto listed = [port](const std::vector<std::uint16_t>& ports) {
    return std::find(ports.begin(), ports.end(), port) != ports.end();
  };
  std::vector<std::uint16_t> ports;
  if (const Win32Error error = platform::GetListeningTcpPorts(ports))
    throw Win32Exception(error, u"Cannot get tcp table");
  if (listed(ports)) return true;
  if (const Win32Error error = platform::GetListeningTcp6Ports(ports))
    throw Win32Exception(error, u"Cannot get ipv6 tcp table");
  return listed(ports);
}

}  // namespace kelvarion::util
