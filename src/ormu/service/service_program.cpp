#include "ormu/service/service_program.h"

#include <cstdlib>
#include <filesystem>
#include <iostream>

#include "config/registry_accessor.h"
#include "errors/exception.h"
#include "ormu/service/socket_server.h"
#include "ormu/slave_guard.h"
#include "platform/machine/machine.h"
#include "platform/process/process.h"
#include "platform/text/encoding.h"
#include "util/atomic_file.h"

namespace kelvarion::ormu {
namespace {

using namespace std::chrono_literals;

constexpr auto kBetweenLooks = 2s;
// How soon it notices that it is told to end, and what work then gets to end in.
constexpr auto kNotice = 200ms;
constexpr auto kPatience = 3s;

class Service {
 public:
  explicit Service(const std::shared_ptr<platform::Machine>& machine)
      : machine_(machine),
        lock_(platform::PathFromNative(machine->home + "/server/run/ormusvc.instance"),
              platform::IfLocked::kGiveUp),
        log_(machine->home + "/server/logs/ormusvc.log", *machine->event_log),
        parts_{machine->home, log_, stopping_},
        followers_(parts_, [this] { return Root(); }),
        requests_(parts_, followers_, [this] { return Root(); }),
        server_((RequireLock(), parts_), requests_) {}

  // False when something still ran at the very end: the process then has to end without further
  // ado, which harms no data.
  bool Run();
  void Stop() { stopping_ = true; }

 private:
  std::u16string Root() const {
    return RegistryAccessor(*machine_->registry).GetRepositoriesRoot(std::nullopt);
  }
  void RequireLock() const {
    if (lock_.Error() == ERROR_SHARING_VIOLATION)
      throw SimpleException(u"The replication service of this home runs already.");
    if (lock_.Error() != ERROR_SUCCESS)
      throw Win32Exception(lock_.Error(), u"Cannot lock the home");
  }
  void Look();
  void MendRepositories();

  const std::shared_ptr<platform::Machine> machine_;
  const platform::FileLock lock_;
  std::atomic<bool> stopping_ = false;
  ServiceLog log_;
  const ServiceParts parts_;
  Followers followers_;
  const Requests requests_;
  SocketServer server_;
  std::string trouble_;  // The last one of looking, which is told once.
};

void Service::Look() {
  std::string trouble;
  try {
    followers_.Look();
  } catch (const Exception& exception) {
    trouble = platform::Utf8ForDisplay(exception.Message());
  }
  if (trouble != trouble_ && !trouble.empty()) log_.ReportFailure("*", trouble);
  trouble_ = trouble;
}

// Also those that are no slaves: a kill may have left them a part of the guard.
void Service::MendRepositories() {
  try {
    MendGuards(Root(), svn::Pool::Root());
  } catch (const Exception&) {  // Looking tells it.
  }
}

bool Service::Run() {
  log_.Note("started");
  MendRepositories();
  Look();
  // The link to this process is named by its number. The supervisor waits for the file.
  util::WriteFileAtomically(platform::PathFromNative(machine_->home + "/server/run/ormusvc.pid"),
                            std::filesystem::read_symlink("/proc/self").string() + "\n");
  auto next_look = std::chrono::steady_clock::now() + kBetweenLooks;
  while (!stopping_) {
    server_.Serve(kNotice);
    if (std::chrono::steady_clock::now() < next_look) continue;
    Look();
    next_look = std::chrono::steady_clock::now() + kBetweenLooks;
  }
  const bool requests_ended = server_.Stop(kPatience / 2);
  const bool ended = followers_.Stop(kPatience / 2) && requests_ended;
  log_.Note(ended ? "stopped" : "stopped while it waited for a master");
  return ended;
}

int Fail(const std::string& message) {
  std::cerr << "ormusvc: " << message << std::endl;
  return 1;
}

int Serve(const std::string& home) {
  std::u16string reason;
  // Opening would make what is missing, so look first.
  const auto machine = std::filesystem::exists(home + "/registry.db")
                           ? platform::OpenMachine(home, reason)
                           : nullptr;
  if (!machine) return Fail("There is no home in " + home + " " + platform::Utf8ForDisplay(reason));
  platform::IgnoreBrokenPipes();
  svn::Initialize();
  Service service(machine);
  const platform::InterruptWatch watch([&] { service.Stop(); });
  if (service.Run()) return 0;
  std::_Exit(0);
}

}  // namespace

int RunOrmusvc(int argc, char** argv) {
  if (argc != 3 || std::string(argv[1]) != "--home" || argv[2][0] != '/') {
    std::cerr << "usage: ormusvc --home HOME\nIt is started by the service manager: kelvarionctl "
                 "call 'Kelvarion_OrmuService.Name=\"ormusvc\"' StartService\n";
    return 2;
  }
  try {
    return Serve(argv[2]);
  } catch (const Exception& exception) {
    return Fail(platform::Utf8ForDisplay(exception.Message()));
  } catch (const std::exception& exception) {
    return Fail(exception.what());
  }
}

}  // namespace kelvarion::ormu
