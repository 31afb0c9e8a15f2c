// What one run of the program works with: the classes, the home and the provider, each opened when
// it is first needed.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/program_paths.h"
#include "host/provider_host.h"
#include "host/schema.h"

namespace kelvarion::host {

struct GlobalOptions {
  std::string home;  // Empty: the default one.
  bool json = false;
  bool in_process = false;
  std::vector<std::string> contexts;
};

// For one thread.
class Session {
 public:
  explicit Session(const GlobalOptions& options);

  const std::string& home() const { return home_; }
  bool json() const { return options_.json; }
  const ProgramPaths& paths() const { return paths_; }
  std::shared_ptr<const Schema> schema();
  // Throws UsageError when there is no complete home.
  std::shared_ptr<platform::Machine> machine();
  ProviderHost& provider();
  // The daemon of the home when it answers and nothing else was asked for, else the provider; also
  // once the daemon has ended.
  RequestTarget& target();
  // The values of the command line; null when there are none.
  ComPtr<IWbemContext> context();
  // Told about warnings and progress while a request runs; may be null.
  Observer* observer = nullptr;

 private:
  GlobalOptions options_;
  std::string home_;
  ProgramPaths paths_;
  std::shared_ptr<const Schema> schema_;
  std::shared_ptr<platform::Machine> machine_;
  std::optional<ProviderHost> provider_;
  std::unique_ptr<RequestTarget> daemon_;
};

}  // namespace kelvarion::host
