#include "platform/network/network.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <memory>

#include "platform/text/encoding.h"

namespace kelvarion::platform {
namespace {

struct FreeAddresses {
  void operator()(addrinfo* list) const { freeaddrinfo(list); }
};
using Addresses = std::unique_ptr<addrinfo, FreeAddresses>;

Win32Error FromSocketErrno(int error) {
  switch (error) {
    case EADDRINUSE:
      return WSAEADDRINUSE;
    case EADDRNOTAVAIL:
      return WSAEADDRNOTAVAIL;
    case EACCES:
      return ERROR_ACCESS_DENIED;
    default:
      return ERROR_GEN_FAILURE;
  }
}

Win32Error TryBind(const addrinfo& address) {
  const int descriptor = socket(address.ai_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (descriptor < 0) return FromSocketErrno(errno == EAFNOSUPPORT ? EADDRNOTAVAIL : errno);
  // As servers do: ports whose last connections have not timed out are free, and the IPv6 wildcard
  // takes the IPv4 one with it.
  const int on = 1;
  const int off = 0;
  setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  if (address.ai_family == AF_INET6)
    setsockopt(descriptor, IPPROTO_IPV6, IPV6_V6ONLY, &off, sizeof off);
  const bool bound = bind(descriptor, address.ai_addr, address.ai_addrlen) == 0;
  const int error = errno;
  close(descriptor);
  return bound ? ERROR_SUCCESS : FromSocketErrno(error);
}

}  // namespace

Win32Error GetComputerDnsName(std::u16string& out) {
  char host[256];
  if (gethostname(host, sizeof host) != 0) return ERROR_GEN_FAILURE;
  host[sizeof host - 1] = '\0';
  std::string name = host;
  addrinfo hints{};
  hints.ai_flags = AI_CANONNAME;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  if (name.find('.') == std::string::npos && getaddrinfo(host, nullptr, &hints, &found) == 0) {
    const Addresses owned(found);
    // A canonical name without a domain says no more than the host's own.
    if (found->ai_canonname && std::string(found->ai_canonname).find('.') != std::string::npos)
      name = found->ai_canonname;
  }
  out = Utf16ForDisplay(name);
  return ERROR_SUCCESS;
}

bool IsIpAddress(const std::u16string& text) {
  std::string host;
  if (!Utf16ToUtf8(text, host)) return false;
  unsigned char bytes[sizeof(in6_addr)];
  if (inet_pton(AF_INET, host.c_str(), bytes) == 1) return true;
  if (host.starts_with('[') && host.ends_with(']')) host = host.substr(1, host.size() - 2);
  if (const std::size_t zone = host.find('%'); zone != host.npos) host.resize(zone);
  return inet_pton(AF_INET6, host.c_str(), bytes) == 1;
}

Win32Error TestBind(const std::u16string& address, std::uint16_t port) {
  std::string host;
  if (!Utf16ToUtf8(address, host)) return ERROR_INVALID_PARAMETER;
  addrinfo hints{};
  hints.ai_flags = AI_PASSIVE | AI_NUMERICHOST | AI_NUMERICSERV;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  const std::string service = std::to_string(port);
  if (getaddrinfo(host.empty() ? nullptr : host.c_str(), service.c_str(), &hints, &found) != 0)
    return ERROR_INVALID_PARAMETER;
  const Addresses owned(found);
  // All addresses are the IPv6 wildcard, or the IPv4 one on a machine without IPv6.
  Win32Error result = WSAEADDRNOTAVAIL;
  for (const int family : {AF_INET6, AF_INET})
    for (const addrinfo* each = found; each && result == WSAEADDRNOTAVAIL; each = each->ai_next)
      if (each->ai_family == family) result = TryBind(*each);
  return result;
}

}  // namespace kelvarion::platform
