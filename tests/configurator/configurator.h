// A repository configurator for tests: a server of its own in a shared library of its own, which
// does what the test says and remembers what it was asked.
#pragma once

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
  bool late_init = false;    // The status is left to the test.
  HRESULT answer = S_OK;     // What requests return.
  bool late_answer = false;  // The sink is left to the test.
};

struct Configurator {
  ConfiguratorBehaviour behaviour;
  // Servers of an earlier one are gone: their requests are answered "RPC server unavailable".
  int generation = 0;
  // "start", "initialize <namespace>", "get <path>", "method <path> <method>", each but the first
  // with " as <user SID>" of the client it was made for.
  std::vector<std::string> calls;
  // Of the last late initialisation and request.
  ComPtr<IWbemProviderInitSink> init_sink;
  ComPtr<IWbemObjectSink> sink;
};

// The one of the process, to itself while this lives.
class TheConfigurator {
 public:
  TheConfigurator();
  Configurator* operator->() const;

 private:
  std::unique_lock<std::mutex> lock_;
};

}  // namespace kelvarion::testing
