#include "host/daemon/daemon_program.h"

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <iostream>

#include "errors/exception.h"
#include "host/daemon/daemon.h"
#include "host/outcome.h"
#include "host/session.h"
#include "host/text.h"
#include "platform/process/process.h"

namespace kelvarion::host {
namespace {

int Fail(ExitCode code, const std::string& message) {
  std::cerr << "kelvariond: " << message << std::endl;
  return code;
}

int Serve(const GlobalOptions& options, const DaemonLimits& limits) {
  platform::KeepLittleMemory();
  Session session(options);
  // Opened first: a home that is incomplete has nothing to be served from.
  session.machine();
  Daemon daemon(session.home(), session.provider(), limits);
  const platform::InterruptWatch watch([&] { daemon.Stop(); });
  std::cerr << "kelvariond: serves " << session.home() << std::endl;
  if (daemon.Run()) return kExitSuccess;
  // Threads still use what would now be destroyed.
  Fail(kExitFailed, "Some requests did not stop in time; they end here.");
  std::_Exit(kExitFailed);
}

}  // namespace

int RunKelvariond(int argc, char** argv) {
  CLI::App app("Serves the management requests of many clients on the socket of a home.",
               "kelvariond");
  GlobalOptions options;
  DaemonLimits limits;
  long idle = limits.idle.count();
  app.add_option("--home", options.home,
                 "The server's home (default: $KELVARION_HOME, else /var/lib/kelvarion for root "
                 "and ~/.local/state/kelvarion for others)");
  app.add_option("--max-request-bytes", limits.request_bytes, "Greatest size of a request")
      ->check(CLI::Range(std::size_t{1024}, std::size_t{1} << 30))
      ->capture_default_str();
  app.add_option("--max-running", limits.running, "Requests that run at the same time")
      ->check(CLI::Range(std::size_t{1}, std::size_t{1024}))
      ->capture_default_str();
  app.add_option("--max-connections", limits.connections, "Connections at the same time")
      ->check(CLI::Range(std::size_t{1}, std::size_t{100'000}))
      ->capture_default_str();
  app.add_option("--idle-seconds", idle, "How long a connection may be idle")
      ->check(CLI::Range(1, 86'400))
      ->capture_default_str();
  app.footer("SIGTERM ends it: what runs is finished or cancelled first.");
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& help) {
    return app.exit(help);
  } catch (const CLI::ParseError& error) {
    app.exit(error);
    return kExitUsage;
  }
  limits.idle = std::chrono::seconds(idle);
  try {
    return Serve(options, limits);
  } catch (const UsageError& error) {
    return Fail(kExitUsage, error.what());
  } catch (const Exception& exception) {
    return Fail(kExitFailed, Utf8(exception.Message()));
  } catch (const std::exception& exception) {
    return Fail(kExitFailed, exception.what());
  }
}

}  // namespace kelvarion::host
