#include "platform/network/local_socket.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <cerrno>
#include <cstdio>
#include <set>

#include "platform/files/files.h"
#include "platform/security/sid.h"

namespace kelvarion::platform {
namespace {

constexpr int kBacklog = 256;

// An address holds about a hundred bytes, a path more: so the folder is named by its descriptor.
class Address {
 public:
  explicit Address(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    name_ = path.substr(slash + 1);
    const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    folder_ = Descriptor(open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  }
  explicit operator bool() const { return static_cast<bool>(folder_); }
  int folder() const { return folder_.get(); }
  const std::string& name() const { return name_; }

  // False when the name alone is too long.
  bool Fill(const std::string& name, sockaddr_un& out) const {
    out = {};
    out.sun_family = AF_UNIX;
    const int length = std::snprintf(out.sun_path, sizeof out.sun_path, "/proc/self/fd/%d/%s",
                                     folder_.get(), name.c_str());
    return length > 0 && static_cast<std::size_t>(length) < sizeof out.sun_path;
  }

 private:
  std::string name_;
  Descriptor folder_;
};

Win32Error LastError() { return FromErrno(errno); }

Win32Error Bind(const Address& address, const std::string& name, Descriptor& out) {
  sockaddr_un socket_address{};
  if (!address.Fill(name, socket_address)) return ERROR_FILENAME_EXCED_RANGE;
  unlinkat(address.folder(), name.c_str(), 0);
  out = Descriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!out ||
      bind(out.get(), reinterpret_cast<sockaddr*>(&socket_address), sizeof socket_address) != 0)
    return LastError();
  if (fchmodat(address.folder(), name.c_str(), 0666, 0) != 0 || listen(out.get(), kBacklog) != 0)
    return LastError();
  return ERROR_SUCCESS;
}

}  // namespace

Win32Error ListenLocal(const std::string& path, Descriptor& out) {
  const Address address(path);
  if (!address) return LastError();
  const std::string fresh = address.name() + ".new";
  Descriptor listener;
  if (const Win32Error error = Bind(address, fresh, listener)) return error;
  if (renameat(address.folder(), fresh.c_str(), address.folder(), address.name().c_str()) != 0)
    return LastError();
  out = std::move(listener);
  return ERROR_SUCCESS;
}

bool AwaitReadable(int socket, int timeout_ms) {
  pollfd readable{socket, POLLIN, 0};
  return poll(&readable, 1, timeout_ms) == 1;
}

Win32Error AcceptLocal(int listener, Descriptor& out) {
  for (;;) {
    out = Descriptor(accept4(listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (out || errno == EAGAIN || errno == EWOULDBLOCK) return ERROR_SUCCESS;
    // The client of an aborted connection is nobody's loss.
    if (errno != EINTR && errno != ECONNABORTED) return LastError();
  }
}

Win32Error ConnectLocal(const std::string& path, Descriptor& out) {
  const Address address(path);
  sockaddr_un socket_address{};
  if (!address) return LastError();
  if (!address.Fill(address.name(), socket_address)) return ERROR_FILENAME_EXCED_RANGE;
  Descriptor connection(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!connection) return LastError();
  while (connect(connection.get(), reinterpret_cast<sockaddr*>(&socket_address),
                 sizeof socket_address) != 0) {
    if (errno == ECONNREFUSED) return ERROR_FILE_NOT_FOUND;
    if (errno != EINTR) return LastError();
  }
  out = std::move(connection);
  return ERROR_SUCCESS;
}

Win32Error PeerToken(int socket, ClientToken& out) {
  ucred peer{};
  socklen_t size = sizeof peer;
  if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) return LastError();
  std::vector<gid_t> groups(64);
  for (;;) {
    size = static_cast<socklen_t>(groups.size() * sizeof(gid_t));
    const int result = getsockopt(socket, SOL_SOCKET, SO_PEERGROUPS, groups.data(), &size);
    const int error = errno;
    // The size comes back either way: that of what there is, or that of what would be needed.
    groups.resize(size / sizeof(gid_t));
    if (result == 0) break;
    if (error != ERANGE) return FromErrno(error);
  }
  std::set<gid_t> ids(groups.begin(), groups.end());
  ids.insert(peer.gid);
  out = {ToText(UserSid(peer.uid)), {}, ImpersonationLevel::kImpersonation};
  for (const gid_t id : ids) out.group_sids.push_back(ToText(GroupSid(id)));
  return ERROR_SUCCESS;
}

Win32Error SendAll(int socket, std::string_view bytes, int timeout_ms) {
  while (!bytes.empty()) {
    const ssize_t count = send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (count > 0) {
      bytes.remove_prefix(static_cast<std::size_t>(count));
      continue;
    }
    if (errno == EINTR) continue;
    if (errno != EAGAIN && errno != EWOULDBLOCK) return ERROR_WRITE_FAULT;
    pollfd writable{socket, POLLOUT, 0};
    const int ready = poll(&writable, 1, timeout_ms);
    if (ready == 0) return ERROR_SERVICE_REQUEST_TIMEOUT;
    if (ready < 0 && errno != EINTR) return ERROR_WRITE_FAULT;
  }
  return ERROR_SUCCESS;
}

Win32Error Receive(int socket, void* buffer, std::size_t size, std::size_t& out) {
  ssize_t count = 0;
  do count = recv(socket, buffer, size, 0);
  while (count < 0 && errno == EINTR);
  out = count > 0 ? static_cast<std::size_t>(count) : 0;
  return count < 0 ? ERROR_READ_FAULT : ERROR_SUCCESS;
}

bool HasStoppedSending(int socket) {
  pollfd watched{socket, POLLRDHUP, 0};
  return poll(&watched, 1, 0) == 1;
}

void EndSending(int socket) { shutdown(socket, SHUT_WR); }

void Disconnect(int socket) { shutdown(socket, SHUT_RDWR); }

}  // namespace kelvarion::platform
