// The web server's generated files, its configuration, the two services and their disks.
#include "apache/configuration_generator.h"
#include "apache/pending_changes.h"
#include "doctor/checks.h"
#include "errors/exception.h"
#include "platform/network/network.h"
#include "services/ormu_service.h"
#include "services/server_service.h"
#include "util/paths.h"
#include "util/ports.h"

namespace kelvarion::doctor {
namespace {

using services::kOrmuServiceName;
using services::kServerServiceName;

constexpr const char16_t* kStart = u"Start it: kelvarionctl server start";

std::u16string Regenerate(const IcRegistryAccessor& store) {
  apache::RegenerateApacheConfig(store);
  apache::RegenerateStartPages(store);
  return u"The configuration and the start pages were generated anew; a running server takes them "
         u"up with: kelvarionctl server restart";
}

// Where the server is to listen; an empty address stands for all.
std::vector<std::u16string> Addresses(const IcRegistryAccessor& store) {
  if (store.GetUseServerBindings()) return store.GetServerBindings();
  return {u""};
}

// What would keep a stopped server from starting.
void CheckAddresses(Examination& run) {
  const IcRegistryAccessor& store = run.context().configuration();
  const auto port = static_cast<std::uint16_t>(store.GetServerPort(store.GetUseSSL()));
  for (const std::u16string& address : Addresses(store)) {
    const Win32Error error = platform::TestBind(address, port);
    if (error == ERROR_SUCCESS) continue;
    run.Report(Severity::kError, address.empty() ? u"all addresses" : address,
               Format(u"The server could not listen on port %d there: %s", int{port},
                      Win32Exception(error).Message()),
               u"Stop the program that has the port, or choose another port or address: "
               u"kelvarionctl server configure --help");
  }
}

void CheckSpaceOf(Examination& run, const std::u16string& folder) {
  constexpr std::uint64_t kMiB = 1024 * 1024;
  constexpr std::uint64_t kLittle = 1024 * kMiB;
  constexpr std::uint64_t kAlmostNothing = 64 * kMiB;
  const std::uint64_t free = util::GetVolumeInfo(folder).bytes_free;
  if (free >= kLittle) return;
  run.Report(free < kAlmostNothing ? Severity::kError : Severity::kWarning, folder,
             Format(u"There are only %lu MiB left on its disk; without space commits and changes "
                    u"of settings fail.",
                    static_cast<unsigned long>(free / kMiB)),
             u"Make room, or move the repositories to a larger disk.");
}

}  // namespace

void CheckGeneratedFiles(Examination& run) {
  const IcRegistryAccessor& store = run.context().configuration();
  for (const apache::GeneratedFile& file : apache::PreviewGeneratedFiles(store)) {
    std::string present;
    const Win32Error error = platform::ReadWholeFile(file.path, present);
    if (error == ERROR_SUCCESS && present == file.text) continue;
    run.Report(Severity::kError, file.path,
               error == ERROR_SUCCESS ? u"It is not what the settings say."
                                      : u"It is missing or cannot be read.",
               u"Generate it anew; --fix does it. Directives of your own belong into "
               u"httpd-custom.conf.",
               [&store] { return Regenerate(store); });
  }
}

void CheckWebServerConfiguration(Examination& run) {
  std::u16string reason;
  const platform::ServiceManager& manager = *run.context().machine().services;
  if (manager.CheckConfiguration(kServerServiceName, reason) == ERROR_SUCCESS) return;
  run.Report(Severity::kError, Shown(run.InHome("server/conf")),
             Format(u"The web server refuses its configuration: %s", reason),
             u"Correct what it names, most likely in httpd-custom.conf. Files that are missing "
             u"come back with: kelvarionctl init");
}

void CheckWebServer(Examination& run) {
  const platform::ServiceManager& manager = *run.context().machine().services;
  const platform::ServiceStatus status = services::QueryServerStatus(manager);
  platform::ServiceConfig config;
  manager.QueryConfig(kServerServiceName, config);
  const IcRegistryAccessor& store = run.context().configuration();
  if (status.current_state == platform::SERVICE_RUNNING) {
    if (!util::IsTcpPortInUse(static_cast<std::uint32_t>(store.GetServerPort(store.GetUseSSL()))))
      run.Report(Severity::kError, kServerServiceName,
                 u"It runs, but does not listen on the port of the settings.",
                 u"Restart it: kelvarionctl server restart");
    return;
  }
  if (status.current_state != platform::SERVICE_STOPPED) return;
  if (status.win32_exit_code != 0) {
    run.Report(Severity::kError, kServerServiceName,
               Format(u"It has failed: %s", manager.LastFailure(kServerServiceName)),
               u"Correct what it says, then start it: kelvarionctl server start");
  } else if (config.start_type == platform::SERVICE_AUTO_START) {
    run.Report(Severity::kWarning, kServerServiceName, u"It is stopped.", kStart);
  }
  CheckAddresses(run);
}

void CheckRestartPending(Examination& run) {
  const platform::ServiceManager& manager = *run.context().machine().services;
  const std::int64_t read = manager.ConfigurationTime(kServerServiceName);
  if (read == 0) return;
  const IcRegistryAccessor& store = run.context().configuration();
  const std::vector<std::u16string> changed = apache::FilesChangedSince(store, read);
  if (changed.empty()) return;
  const std::u16string file = util::JoinPath(store.GetInstallDir(), changed.front());
  if (const std::u16string refused = manager.LastFailure(kServerServiceName); !refused.empty()) {
    run.Report(Severity::kWarning, file,
               Format(u"The server serves on with its old configuration: %s", refused),
               u"Correct what it names, then restart it: kelvarionctl server restart");
    return;
  }
  run.Report(Severity::kInformation, file, u"It has changed since the server last read it.",
             u"Restart the server when the change is to count: kelvarionctl server restart");
}

void CheckReplicationService(Examination& run) {
  const platform::ServiceManager& manager = *run.context().machine().services;
  const platform::ServiceStatus status = services::QueryOrmuStatus(manager);
  const platform::ServiceConfig config = services::QueryOrmuConfig(manager);
  if (status.current_state != platform::SERVICE_STOPPED) return;
  if (status.win32_exit_code != 0) {
    run.Report(
        Severity::kError, kOrmuServiceName,
        Format(u"The replication service has failed: %s", manager.LastFailure(kOrmuServiceName)),
        u"Correct what it says, then start it again.");
  } else if (config.start_type == platform::SERVICE_AUTO_START) {
    run.Report(Severity::kWarning, kOrmuServiceName,
               u"The replication service is to start with the machine, but is stopped.",
               u"Start it, or change its start mode.");
  }
}

void CheckSpace(Examination& run) {
  const std::u16string home = Shown(run.home());
  CheckSpaceOf(run, home);
  const std::u16string root = run.context().configuration().GetRepositoriesRoot(std::nullopt);
  const std::string native = platform::NativePath(root);
  if (!native.starts_with(run.home() + "/")) CheckSpaceOf(run, root);
}

}  // namespace kelvarion::doctor
