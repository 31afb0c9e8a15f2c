#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <thread>

#include "platform/process/process.h"

namespace kelvarion::platform {
namespace {

constexpr std::array<int, 2> kSignals{SIGINT, SIGTERM};
constexpr char kInterrupted = 'i';
constexpr char kEnd = 'e';

// A handler may do nothing but write: the watch's thread reads at the other end.
std::atomic<int> write_end{-1};

void OnSignal(int) {
  const int saved = errno;
  const ssize_t ignored = write(write_end.load(), &kInterrupted, 1);
  static_cast<void>(ignored);
  errno = saved;
}

}  // namespace

struct InterruptWatch::State {
  std::array<int, 2> pipe{-1, -1};
  std::array<struct sigaction, kSignals.size()> previous{};
  std::thread reader;
};

InterruptWatch::InterruptWatch(std::function<void()> on_interrupt)
    : state_(std::make_unique<State>()) {
  if (pipe2(state_->pipe.data(), O_CLOEXEC) != 0) return;  // Interrupts then end the process.
  write_end = state_->pipe[1];
  state_->reader = std::thread([fd = state_->pipe[0], call = std::move(on_interrupt)] {
    char what = 0;
    while (true) {
      const ssize_t count = read(fd, &what, 1);
      if (count < 0 && errno == EINTR) continue;
      if (count != 1 || what == kEnd) return;
      call();
    }
  });
  struct sigaction action {};
  action.sa_handler = OnSignal;
  action.sa_flags = SA_RESTART;
  for (std::size_t i = 0; i < kSignals.size(); ++i)
    sigaction(kSignals[i], &action, &state_->previous[i]);
}

InterruptWatch::~InterruptWatch() {
  if (!state_->reader.joinable()) return;
  for (std::size_t i = 0; i < kSignals.size(); ++i)
    sigaction(kSignals[i], &state_->previous[i], nullptr);
  const ssize_t ignored = write(state_->pipe[1], &kEnd, 1);
  static_cast<void>(ignored);
  state_->reader.join();
  write_end = -1;
  close(state_->pipe[0]);
  close(state_->pipe[1]);
}

}  // namespace kelvarion::platform
