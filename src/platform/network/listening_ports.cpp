#include "platform/network/listening_ports.h"

#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <fstream>

#include "platform/network/network.h"

namespace kelvarion::platform {
namespace {

constexpr unsigned kListening = 10;

struct Request {
  nlmsghdr header;
  inet_diag_req_v2 query;
};

bool SendRequest(int socket, std::uint8_t family) {
  Request request{};
  request.header.nlmsg_len = sizeof request;
  request.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
  request.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
  request.query.sdiag_family = family;
  request.query.sdiag_protocol = IPPROTO_TCP;
  request.query.idiag_states = 1u << kListening;
  return send(socket, &request, sizeof request, 0) == static_cast<ssize_t>(sizeof request);
}

enum class Answer { kMore, kDone, kFailed };

// Adds the ports of one datagram.
Answer ReadAnswer(int socket, std::vector<std::uint16_t>& out) {
  alignas(nlmsghdr) char buffer[32768];
  ssize_t got = 0;
  do got = recv(socket, buffer, sizeof buffer, 0);
  while (got < 0 && errno == EINTR);
  if (got <= 0) return Answer::kFailed;
  auto left = static_cast<std::size_t>(got);
  for (auto* header = reinterpret_cast<nlmsghdr*>(buffer); NLMSG_OK(header, left);
       header = NLMSG_NEXT(header, left)) {
    if (header->nlmsg_type == NLMSG_DONE) return Answer::kDone;
    if (header->nlmsg_type == NLMSG_ERROR) return Answer::kFailed;
    const auto* found = static_cast<const inet_diag_msg*>(NLMSG_DATA(header));
    out.push_back(ntohs(found->id.idiag_sport));
  }
  return Answer::kMore;
}

}  // namespace

bool AskKernelForListeners(std::uint8_t family, std::vector<std::uint16_t>& out) {
  const int descriptor = socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC, NETLINK_SOCK_DIAG);
  if (descriptor < 0) return false;
  std::vector<std::uint16_t> ports;
  Answer answer = SendRequest(descriptor, family) ? Answer::kMore : Answer::kFailed;
  while (answer == Answer::kMore) answer = ReadAnswer(descriptor, ports);
  close(descriptor);
  if (answer == Answer::kDone) out = std::move(ports);
  return answer == Answer::kDone;
}

// Lines like "0: 0100007F:1F90 00000000:0000 0A …", the state in the fourth field.
bool ReadTableOfListeners(const char* file, std::vector<std::uint16_t>& out) {
  std::ifstream table(file);
  if (!table) return false;
  std::vector<std::uint16_t> ports;
  std::string line;
  std::getline(table, line);
  while (std::getline(table, line)) {
    unsigned port = 0;
    unsigned state = 0;
    if (std::sscanf(line.c_str(), "%*d: %*[0-9A-Fa-f]:%x %*s %x", &port, &state) == 2 &&
        state == kListening)
      ports.push_back(static_cast<std::uint16_t>(port));
  }
  out = std::move(ports);
  return true;
}

Win32Error GetListeningTcpPorts(std::vector<std::uint16_t>& ipv4) {
  const bool known =
      AskKernelForListeners(AF_INET, ipv4) || ReadTableOfListeners("/proc/net/tcp", ipv4);
  return known ? ERROR_SUCCESS : ERROR_NOT_SUPPORTED;
}

Win32Error GetListeningTcp6Ports(std::vector<std::uint16_t>& ipv6) {
  const bool known =
      AskKernelForListeners(AF_INET6, ipv6) || ReadTableOfListeners("/proc/net/tcp6", ipv6);
  return known ? ERROR_SUCCESS : ERROR_NOT_SUPPORTED;
}

}  // namespace kelvarion::platform
