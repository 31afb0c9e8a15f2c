// Whom requests are made to: a provider in this process or the daemon of the home.
#pragma once

#include <string>

#include "host/reply.h"

namespace kelvarion::host {

// A request that was refused before it began is a reply like any other. The context may be null.
// While a request runs, an interrupt asks it to stop and waits for its clean-up.
class RequestTarget {
 public:
  virtual ~RequestTarget() = default;

  virtual Reply Get(const std::u16string& path, IWbemContext* context, Observer* observer) = 0;
  virtual Reply Put(IWbemClassObject* instance, IWbemContext* context, Observer* observer) = 0;
  virtual Reply Delete(const std::u16string& path, IWbemContext* context, Observer* observer) = 0;
  virtual Reply Enumerate(const std::u16string& class_name, IWbemContext* context,
                          Observer* observer) = 0;
  // `in` may be null.
  virtual Reply Call(const std::u16string& path, const std::u16string& method,
                     IWbemContext* context, IWbemClassObject* in, Observer* observer) = 0;
};

}  // namespace kelvarion::host
