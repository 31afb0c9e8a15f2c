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
  void Reset();
  void Behave(const ConfiguratorBehaviour& behaviour);
  ConfiguratorBehaviour behaviour();

  // All servers there are end: their requests are answered "RPC server unavailable".
  void GoAway();
  int generation();

  // "start", "initialize <namespace>", "get <path>", "method <path> <method>", each but the first
  // with " as <user SID>" of the client it was made for.
  void Note(const std::string& call);
  std::vector<std::string> calls();

  void Keep(ComPtr<IWbemProviderInitSink> sink);
  void Keep(ComPtr<IWbemObjectSink> sink);
  // The sink of the last late initialisation or request; waits for it.
  ComPtr<IWbemProviderInitSink> TakeInitSink();
  ComPtr<IWbemObjectSink> TakeSink();

 private:
  std::mutex mutex_;
  std::condition_variable kept_;
  ConfiguratorBehaviour behaviour_;
  int generation_ = 0;
  std::vector<std::string> calls_;
  ComPtr<IWbemProviderInitSink> init_sink_;
  ComPtr<IWbemObjectSink> sink_;
};

Configurator& TheConfigurator();

}  // namespace kelvarion::testing
