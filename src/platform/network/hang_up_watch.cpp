#include "platform/network/hang_up_watch.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>

#include <cerrno>
#include <system_error>

namespace kelvarion::platform {

HangUpWatch::HangUpWatch()
    : poll_(epoll_create1(EPOLL_CLOEXEC)), end_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  epoll_event event{EPOLLIN, {.fd = end_.get()}};
  if (!poll_ || !end_ || epoll_ctl(poll_.get(), EPOLL_CTL_ADD, end_.get(), &event) != 0)
    throw std::system_error(errno, std::generic_category(), "epoll");
  thread_ = std::thread([this] { Listen(); });
}

HangUpWatch::~HangUpWatch() {
  eventfd_write(end_.get(), 1);
  thread_.join();
}

void HangUpWatch::Add(int socket, std::function<void()> gone) {
  const std::lock_guard lock(mutex_);
  watched_[socket] = std::move(gone);
  epoll_event event{EPOLLRDHUP | EPOLLONESHOT, {.fd = socket}};
  if (epoll_ctl(poll_.get(), EPOLL_CTL_ADD, socket, &event) != 0) watched_.erase(socket);
}

void HangUpWatch::Remove(int socket) {
  const std::lock_guard lock(mutex_);
  epoll_ctl(poll_.get(), EPOLL_CTL_DEL, socket, nullptr);
  watched_.erase(socket);
}

void HangUpWatch::Listen() {
  for (;;) {
    epoll_event event{};
    const int count = epoll_wait(poll_.get(), &event, 1, -1);
    if (count < 0 && errno != EINTR) return;
    if (count != 1) continue;
    if (event.data.fd == end_.get()) return;
    std::function<void()> gone;
    {
      const std::lock_guard lock(mutex_);
      const auto found = watched_.find(event.data.fd);
      if (found != watched_.end()) gone = std::exchange(found->second, nullptr);
    }
    if (gone) gone();
  }
}

}  // namespace kelvarion::platform
