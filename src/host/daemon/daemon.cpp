#include "host/daemon/daemon.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/strand.hpp>
#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <thread>

#include "errors/exception.h"
#include "host/daemon/connection.h"
#include "host/text.h"
#include "host/wire.h"
#include "platform/files/files.h"
#include "platform/network/local_socket.h"

namespace kelvarion::host {
namespace {

namespace net = boost::asio;

// Beyond those that run requests: to accept, to read and to refuse.
constexpr std::size_t kSpareThreads = 2;
constexpr std::chrono::milliseconds kAcceptAgain{100};

}  // namespace

class Daemon::Listener {
 public:
  Listener(const std::string& home, const ProviderHost& host, const DaemonLimits& limits)
      : limits_(limits),
        home_(home),
        lock_(platform::PathFromNative(home + "/kelvariond.lock"), platform::IfLocked::kGiveUp),
        machine_(platform::CurrentMachine()),
        served_(home, *machine_->security),
        refusals_(*machine_),
        running_(host, limits_.running),
        workplace_{host, refusals_, limits_, served_, running_} {
    if (lock_.Error() == ERROR_SHARING_VIOLATION)
      throw SimpleException(u"Another daemon serves the home '%s' already.", Utf16(home));
    if (lock_.Error() != ERROR_SUCCESS)
      throw Win32Exception(lock_.Error(), u"Cannot lock the home '%s'", Utf16(home));
    platform::Descriptor listener;
    const std::string path = SocketPath(home);
    if (const Win32Error error = platform::ListenLocal(path, listener))
      throw Win32Exception(error, u"Cannot listen on '%s'", Utf16(path));
    acceptor_.assign(net::local::stream_protocol(), listener.Release());
  }

  bool Run();
  void Stop();

 private:
  void AwaitClients();
  void Accept();

  const DaemonLimits limits_;
  const std::string home_;
  // Held until the process ends, as long as the socket's name is this daemon's to take away.
  const platform::FileLock lock_;
  const std::shared_ptr<platform::Machine> machine_;
  const ServedClients served_;
  Refusals refusals_;
  RunningRequests running_;
  Workplace workplace_;
  net::io_context io_;
  net::local::stream_protocol::acceptor acceptor_{net::make_strand(io_)};
  net::steady_timer again_{acceptor_.get_executor()};
  std::mutex mutex_;
  std::condition_variable changed_;
  bool stop_ = false;
};

void Daemon::Listener::AwaitClients() {
  acceptor_.async_wait(net::socket_base::wait_read, [this](boost::system::error_code error) {
    if (!error) Accept();
  });
}

void Daemon::Listener::Accept() {
  for (;;) {
    platform::Descriptor socket;
    if (platform::AcceptLocal(acceptor_.native_handle(), socket) != ERROR_SUCCESS) {
      // Out of descriptors or memory: those who are here have to go first.
      again_.expires_after(kAcceptAgain);
      again_.async_wait([this](boost::system::error_code error) {
        if (!error) AwaitClients();
      });
      return;
    }
    if (!socket) return AwaitClients();
    if (const auto connection = Connection::Open(io_, workplace_, std::move(socket)))
      connection->Start();
  }
}

bool Daemon::Listener::Run() {
  net::post(acceptor_.get_executor(), [this] { AwaitClients(); });
  const auto work = net::make_work_guard(io_);
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < limits_.running + kSpareThreads; ++i)
    threads.emplace_back([this] { io_.run(); });
  {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return stop_; });
  }
  std::error_code ignored;
  std::filesystem::remove(SocketPath(home_), ignored);
  // Whoever is connected, or was about to be, is told until the end.
  workplace_.stopping = true;
  running_.Close();
  bool none = running_.WaitForNone(limits_.finish);
  if (!none) {
    running_.CancelAll();
    none = running_.WaitForNone(limits_.stop);
  }
  io_.stop();
  if (none) {
    for (std::thread& thread : threads) thread.join();
  } else {
    for (std::thread& thread : threads) thread.detach();
  }
  return none;
}

void Daemon::Listener::Stop() {
  const std::lock_guard lock(mutex_);
  stop_ = true;
  changed_.notify_all();
}

Daemon::Daemon(const std::string& home, const ProviderHost& host, const DaemonLimits& limits)
    : listener_(std::make_unique<Listener>(home, host, limits)) {}

Daemon::~Daemon() = default;

bool Daemon::Run() { return listener_->Run(); }
void Daemon::Stop() { listener_->Stop(); }

}  // namespace kelvarion::host
