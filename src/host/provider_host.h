// The host of the provider: it finds the provider by its class identifier, creates it from the
// library that the registry of the home names, and talks to it through the five entry points alone.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/argument.h"
#include "host/request_target.h"
#include "host/schema.h"
#include "platform/com/class_object.h"
#include "platform/machine/machine.h"

namespace kelvarion::host {

// The account that this process runs as, able to act.
ClientToken OwnToken();

// Requests may be made from several threads; each runs on the thread that makes it, as the account
// of the process. One host per process.
class ProviderHost final : public RequestTarget {
 public:
  // Makes `machine` the current one. Throws SimpleException when the provider is not registered,
  // does not load or cannot be initialised.
  ProviderHost(std::shared_ptr<platform::Machine> machine, std::shared_ptr<const Schema> schema);

  Reply Get(const std::u16string& path, IWbemContext* context, Observer* observer) override;
  Reply Put(IWbemClassObject* instance, IWbemContext* context, Observer* observer) override;
  Reply Delete(const std::u16string& path, IWbemContext* context, Observer* observer) override;
  Reply Enumerate(const std::u16string& class_name, IWbemContext* context,
                  Observer* observer) override;
  Reply Call(const std::u16string& path, const std::u16string& method, IWbemContext* context,
             IWbemClassObject* in, Observer* observer) override;

  // For hosts that make requests of their own, as they like, for clients of their own.
  IWbemServices& services() const { return *provider_; }
  const Schema& schema() const { return *schema_; }

 private:
  using Request = std::function<HRESULT(IWbemObjectSink*)>;
  static Reply Run(Observer* observer, const Request& request);

  std::shared_ptr<const Schema> schema_;
  ComPtr<IWbemServices> provider_;
};

}  // namespace kelvarion::host
