// The machine's name and the TCP ports that programs listen on.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/com/types.h"

namespace kelvarion::platform {

// The fully qualified DNS name, the bare host name where there is no domain.
Win32Error GetComputerDnsName(std::u16string& out);

// The local ports in the listening state, over IPv4 or IPv6.
Win32Error GetListeningTcpPorts(std::vector<std::uint16_t>& ipv4);
Win32Error GetListeningTcp6Ports(std::vector<std::uint16_t>& ipv6);

// Whether the text is an IPv4 address, or an IPv6 address with or without brackets and zone. What
// it stands for need not exist.
bool IsIpAddress(const std::u16string& text);

// Whether a server could listen on the port of the address now, found out by binding it; an empty
// address stands for all. The reason comes back as a Win32 error.
Win32Error TestBind(const std::u16string& address, std::uint16_t port);

}  // namespace kelvarion::platform
