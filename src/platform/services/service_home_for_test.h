// A home with nothing but a web server of the plainest configuration, for the tests of its service.
#pragma once

#include <signal.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "platform/services/service_manager.h"
#include "platform/services/service_record.h"
#include "tests/support/eventually.h"
#include "tests/support/ports.h"
#include "tests/support/temporary_folder.h"

namespace kelvarion::platform {

class ServiceHome {
 public:
  static constexpr const char16_t* kName = u"KelvarionServer";

  ServiceHome() {
    for (const char* each : {"conf", "logs", "run"})
      std::filesystem::create_directories(folder / "server" / each);
    Configure("Listen 127.0.0.1:" + port);
    manager = OpenServiceManager(folder.string());
  }
  // Leaves no process behind whatever the test did to them.
  ~ServiceHome() {
    if (State() != SERVICE_STOPPED) manager->Control(kName, SERVICE_CONTROL_STOP);
    if (!testing::Eventually([&] { return State() == SERVICE_STOPPED; })) {
      SignalProcess(Record().supervisor, SIGKILL);
      SignalProcess(Record().process, SIGKILL);
    }
    if (const int session = Record().supervisor.pid; session != 0)
      EndSession(session, Definition().mark);
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
  ServiceRecord Record() const {
    ServiceRecord record;
    ReadRecord(Definition(), record);
    return record;
  }
  ServiceStatus Status() const {
    ServiceStatus status;
    manager->QueryStatus(kName, status);
    return status;
  }
  std::uint32_t State() const { return Status().current_state; }
  bool Reaches(std::uint32_t state) const {
    return testing::Eventually([&] { return State() == state; });
  }
  bool StartsUp() const {
    return manager->Start(kName) == ERROR_SUCCESS && Reaches(SERVICE_RUNNING) &&
           testing::Connects(port);
  }
  bool Says(const std::u16string& words) const {
    return manager->LastFailure(kName).find(words) != std::u16string::npos;
  }

  const testing::TemporaryFolder temporary;
  const std::filesystem::path folder = temporary.native();
  const std::string port = std::to_string(testing::FreePort());
  std::unique_ptr<ServiceManager> manager;
};

}  // namespace kelvarion::platform
