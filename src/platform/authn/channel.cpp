#include "platform/authn/channel.h"

#include <strings.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>

namespace kelvarion::platform {
namespace {

// More than a web server lets a header have.
constexpr std::size_t kLongest = 64 * 1024;

// The first one that came; what is padded to hold one has room for two, and the second is closed.
Descriptor TakeDescriptor(msghdr& message) {
  Descriptor first;
  cmsghdr* const header = CMSG_FIRSTHDR(&message);
  if (!header || header->cmsg_level != SOL_SOCKET || header->cmsg_type != SCM_RIGHTS) return first;
  const std::size_t end = header->cmsg_len - CMSG_LEN(0);
  for (std::size_t at = 0; at + sizeof(int) <= end; at += sizeof(int)) {
    int value = -1;
    std::memcpy(&value, CMSG_DATA(header) + at, sizeof value);
    Descriptor taken(value);
    if (at == 0) first = std::move(taken);
  }
  return first;
}

}  // namespace

Received ReceiveMessage(int channel, std::string& text, Descriptor& reply) {
  static char buffer[kLongest];
  alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))];
  iovec part{buffer, sizeof buffer};
  msghdr message{};
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  message.msg_control = control;
  message.msg_controllen = sizeof control;
  const ssize_t count = recvmsg(channel, &message, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
  if (count < 0) return errno == EAGAIN || errno == EINTR ? Received::kNothing : Received::kClosed;
  reply = TakeDescriptor(message);
  if (count == 0 && !reply) return Received::kClosed;
  text.assign(buffer, message.msg_flags & MSG_TRUNC ? 0 : static_cast<std::size_t>(count));
  explicit_bzero(buffer, static_cast<std::size_t>(count));
  return Received::kMessage;
}

bool SendAnswer(const Descriptor& reply, const std::string& text) {
  return send(reply.get(), text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL) >= 0 ||
         errno != EMSGSIZE;
}

}  // namespace kelvarion::platform
