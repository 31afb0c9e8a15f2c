// A repository configurator for tests: a server of its own in a shared library of its own, which
// does what the test says and remembers what it was asked.
#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include "platform/wmi/interfaces.h"

namespace kelvarion::testing {

// How servers behave from now on.
struct ConfiguratorBehaviour {
  HRESULT start = S_OK;       // What making a server comes to.
  HRESULT initialize = S_OK;  // What Initialize returns.
  HRESULT init_status = S_OK;
  bool late_init = false;    // The status is left to the test, by way of TakeInitSink.
  HRESULT answer = S_OK;     // What requests return.
  bool late_answer = false;  // The sink is left to the test, by way of TakeSink.
};

// One per process. Safe from any thread.
class Configurator {
 public:
  // Back to the beginning: no calls, normal behaviour.
  void Reset() {
    const std::lock_guard lock(mutex_);
    behaviour_ = {};
    calls_.clear();
    init_sink_ = nullptr;
    sink_ = nullptr;
  }
  void Behave(const ConfiguratorBehaviour& behaviour) { Set(behaviour_, behaviour); }
  ConfiguratorBehaviour behaviour() { return Get(behaviour_); }

  // All servers there are end: their requests are answered "RPC server unavailable".
  void GoAway() { Set(generation_, generation() + 1); }
  int generation() { return Get(generation_); }

  // "start", "initialize <namespace>", "get <path>", "method <path> <method>", each but the first
  // with " as <user SID>" of the client it was made for.
  void Note(const std::string& call) {
    const std::lock_guard lock(mutex_);
    calls_.push_back(call);
  }
  std::vector<std::string> calls() { return Get(calls_); }

  void Keep(const ComPtr<IWbemProviderInitSink>& sink) { Set(init_sink_, sink); }
  void Keep(const ComPtr<IWbemObjectSink>& sink) { Set(sink_, sink); }
  // The sink of the last late initialisation or request; waits for it.
  ComPtr<IWbemProviderInitSink> TakeInitSink() { return Take(init_sink_); }
  ComPtr<IWbemObjectSink> TakeSink() { return Take(sink_); }

 private:
  template <class Value>
  void Set(Value& member, const Value& value) {
    const std::lock_guard lock(mutex_);
    member = value;
    changed_.notify_all();
  }
  template <class Value>
  Value Get(const Value& member) {
    const std::lock_guard lock(mutex_);
    return member;
  }
  template <class Sink>
  ComPtr<Sink> Take(ComPtr<Sink>& sink) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return static_cast<bool>(sink); });
    return std::move(sink);
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  ConfiguratorBehaviour behaviour_;
  int generation_ = 0;
  std::vector<std::string> calls_;
  ComPtr<IWbemProviderInitSink> init_sink_;
  ComPtr<IWbemObjectSink> sink_;
};

Configurator& TheConfigurator();

}  // namespace kelvarion::testing
