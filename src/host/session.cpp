#include "host/session.h"

#include <filesystem>

#include "host/client/daemon_client.h"
#include "host/client/fallback_target.h"
#include "host/home.h"
#include "host/text.h"
#include "host/value_input.h"

namespace kelvarion::host {

Session::Session(const GlobalOptions& options) : options_(options), paths_(FindProgramPaths()) {
  const std::string named = options.home.empty() ? platform::DefaultHome() : options.home;
  home_ = std::filesystem::absolute(named).lexically_normal().string();
  while (home_.size() > 1 && home_.ends_with('/')) home_.pop_back();
}

std::shared_ptr<const Schema> Session::schema() {
  if (!schema_) schema_ = std::make_shared<const Schema>(paths_.schema);
  return schema_;
}

std::shared_ptr<platform::Machine> Session::machine() {
  if (!machine_) machine_ = OpenCompleteHome(home_);
  return machine_;
}

ProviderHost& Session::provider() {
  if (!provider_) provider_.emplace(machine(), schema());
  return *provider_;
}

RequestTarget& Session::target() {
  if (!daemon_ && !options_.in_process) {
    if (auto daemon = ConnectToDaemon(home_, schema()))
      daemon_ = std::make_unique<FallbackTarget>(std::move(daemon),
                                                 [this]() -> RequestTarget& { return provider(); });
  }
  if (daemon_) return *daemon_;
  return provider();
}

ComPtr<IWbemContext> Session::context() {
  const std::vector<Argument> values = ParseArguments(options_.contexts);
  if (values.empty()) return nullptr;
  ComPtr<IWbemContext> context = MakeContext();
  for (const Argument& value : values) context->SetValue(value.name, 0, ContextValue(value));
  return context;
}

}  // namespace kelvarion::host
