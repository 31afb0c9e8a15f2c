// A provider in this process, driven through its entry points as a host drives it.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/argument.h"
#include "platform/com/class_object.h"
#include "platform/machine/machine.h"
#include "platform/wmi/interfaces.h"
#include "provider/response_sink.h"
#include "wmi/namespace.h"
#include "wmi/object.h"

namespace kelvarion::testing {

// Everything that one request brought back.
struct Answer {
  HRESULT returned = S_OK;  // What the entry point itself returned.
  HRESULT status = S_OK;    // What SetStatus got.
  int completions = 0;      // How often SetStatus was called.
  std::vector<WMIObject> objects;
  std::vector<std::u16string> warnings;
  std::vector<ProgressRecord> progress;
  WMIObject error;

  // The error object's description; empty without an object.
  std::u16string Message() const;
  std::string said() const;  // The same as UTF-8.
  const WMIObject& object() const { return objects.at(0); }
  // The first object as kelvarionctl shows it, null without any; and all of them.
  host::Json out() const;
  std::vector<host::Json> all() const;
};

// How a client's sink behaves.
struct SinkOptions {
  HRESULT indicate = S_OK;
  HRESULT progress = S_OK;
  HRESULT message = S_OK;
  bool extended = true;  // Whether it offers IWbemObjectSinkEx.
  // Runs whenever objects arrive, and so while the request runs.
  std::function<void()> on_indicate = nullptr;
  // What it answers to those who ask whether the client wants more; nothing: it does.
  std::function<bool()> is_cancelled = nullptr;
};

class ProviderHost {
 public:
  // Initialises a provider of the project's schema on the machine. `hidden` classes are left out of
  // the namespace.
  explicit ProviderHost(std::shared_ptr<platform::Machine> machine,
                        std::vector<std::u16string> hidden = {});
  ~ProviderHost();

  HRESULT initialize_status() const { return initialize_status_; }
  IWbemServices& services() const { return *services_; }
  const WMINamespace& name_space() const { return *namespace_; }
  const ComPtr<IWbemServices>& schema() const { return schema_; }

  // The client of the requests from now on; nothing for a thread that serves none.
  void SetClient(std::optional<ClientToken> token) { client_ = std::move(token); }
  static ClientToken DefaultClient();

  using Fill = std::function<void(WMIObject& in_params)>;
  Answer Get(const std::u16string& path, const SinkOptions& sink = {}) const;
  Answer Put(const WMIObject& instance) const;
  Answer Delete(const std::u16string& path) const;
  Answer Enumerate(const std::u16string& class_name, IWbemContext* context = nullptr,
                   const SinkOptions& sink = {}) const;
  // `fill` sets the in-parameters that the schema declares; without it none are sent.
  Answer Call(const std::u16string& path, const std::u16string& method, const Fill& fill = nullptr,
              IWbemContext* context = nullptr, const SinkOptions& sink = {}) const;

  // With parameters as a command line has them: NAME=TEXT and NAME:=JSON.
  Answer Call(const std::string& path, const std::string& method,
              const std::vector<std::string>& parameters = {}, const SinkOptions& sink = {}) const;
  Answer Get(const std::string& path) const;
  // With a context of the same form.
  Answer List(const std::string& class_name, const std::vector<std::string>& context = {}) const;

  WMIObject Spawn(const std::u16string& class_name) const;

  // Any other request to services(), as the client.
  using Request = std::function<HRESULT(IWbemObjectSink*)>;
  Answer Serve(const SinkOptions& options, const Request& request) const;

 private:
  WMIObject InParameters(const std::u16string& path, const std::u16string& method) const;

  ComPtr<IWbemServices> schema_;
  std::unique_ptr<WMINamespace> namespace_;
  std::optional<ClientToken> client_;
  ComPtr<IWbemServices> services_;
  HRESULT initialize_status_ = E_FAIL;
};

}  // namespace kelvarion::testing
