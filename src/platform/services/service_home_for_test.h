// A home with nothing but a web server of the plainest configuration, for the tests of its service.
#pragma once

#include <arpa/inet.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <thread>

#include "platform/services/service_manager.h"
#include "platform/services/service_record.h"

namespace kelvarion::platform {

// Holds a listening loopback port while it lives.
class HeldPort {
 public:
  HeldPort() : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    bind(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address);
    listen(socket_, 1);
    socklen_t length = sizeof address;
    getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &length);
    port = ntohs(address.sin_port);
  }
  ~HeldPort() { close(socket_); }
  HeldPort(const HeldPort&) = delete;
  HeldPort& operator=(const HeldPort&) = delete;

  std::uint16_t port = 0;

 private:
  int socket_;
};

inline std::string FreePort() { return std::to_string(HeldPort().port); }

inline bool Connects(const std::string& port) {
  const int client = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<std::uint16_t>(std::stoi(port)));
  const bool connected =
      connect(client, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
  close(client);
  return connected;
}

// Processes take their time; 20 seconds are more than any of them may need.
inline bool Eventually(const std::function<bool()>& happened) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (!happened()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

class ServiceHome {
 public:
  static constexpr const char16_t* kName = u"KelvarionServer";

  ServiceHome() {
    std::string pattern = (std::filesystem::temp_directory_path() / "kv-service-XXXXXX").string();
    folder = mkdtemp(pattern.data());
    for (const char* each : {"conf", "logs", "run"})
      std::filesystem::create_directories(folder / "server" / each);
    Configure("Listen 127.0.0.1:" + port);
    manager = OpenServiceManager(folder.string());
  }
  // Leaves no process behind whatever the test did to them.
  ~ServiceHome() {
    if (State() != SERVICE_STOPPED) manager->Control(kName, SERVICE_CONTROL_STOP);
    if (!Eventually([&] { return State() == SERVICE_STOPPED; })) {
      SignalProcess(Record().supervisor, SIGKILL);
      SignalProcess(Record().process, SIGKILL);
    }
    if (const int session = Record().supervisor.pid; session != 0)
      EndSession(session, Definition().mark);
    std::error_code error;
    std::filesystem::remove_all(folder, error);
  }
  ServiceHome(const ServiceHome&) = delete;
  ServiceHome& operator=(const ServiceHome&) = delete;

  void Configure(const std::string& lines) const {
    const std::string modules = "/usr/lib/apache2/modules/";
    std::ofstream file(folder / "server/conf/kelvarion.conf");
    file << "ServerRoot \"" << (folder / "server").string() << "\"\nDefaultRuntimeDir run\n"
         << "ServerName localhost\nLoadModule mpm_event_module " << modules << "mod_mpm_event.so\n"
         << "LoadModule authz_core_module " << modules << "mod_authz_core.so\n"
         << "StartServers 1\nPidFile run/KelvarionServer.pid\nErrorLog logs/error.log\n"
         << lines << "\n";
  }

  Service Definition() const { return *FindService(folder.string(), kName); }
  ServiceRecord Record() const { return ReadRecord(Definition()); }
  ServiceStatus Status() const {
    ServiceStatus status;
    manager->QueryStatus(kName, status);
    return status;
  }
  std::uint32_t State() const { return Status().current_state; }
  bool Reaches(std::uint32_t state) const {
    return Eventually([&] { return State() == state; });
  }
  bool StartsUp() const {
    return manager->Start(kName) == ERROR_SUCCESS && Reaches(SERVICE_RUNNING) && Connects(port);
  }
  bool Says(const std::u16string& words) const {
    return manager->LastFailure(kName).find(words) != std::u16string::npos;
  }

  const std::string port = FreePort();
  std::filesystem::path folder;
  std::unique_ptr<ServiceManager> manager;
};

}  // namespace kelvarion::platform
