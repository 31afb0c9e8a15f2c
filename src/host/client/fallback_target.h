// Requests to the daemon for as long as it is there.
#pragma once

#include <functional>
#include <memory>

#include "host/client/http_exchange.h"
#include "host/request_target.h"

namespace kelvarion::host {

// What the daemon does not come to since it is ending goes to another target, as does everything
// after it. A request that the daemon may have carried out is never made twice.
class FallbackTarget final : public RequestTarget {
 public:
  // The other target is asked for when it is needed and outlives the object.
  FallbackTarget(std::unique_ptr<RequestTarget> daemon, std::function<RequestTarget&()> other)
      : daemon_(std::move(daemon)), other_(std::move(other)) {}

  Reply Get(const std::u16string& path, IWbemContext* context, Observer* observer) override {
    return Make([&](RequestTarget& target) { return target.Get(path, context, observer); });
  }
  Reply Put(IWbemClassObject* instance, IWbemContext* context, Observer* observer) override {
    return Make([&](RequestTarget& target) { return target.Put(instance, context, observer); });
  }
  Reply Delete(const std::u16string& path, IWbemContext* context, Observer* observer) override {
    return Make([&](RequestTarget& target) { return target.Delete(path, context, observer); });
  }
  Reply Enumerate(const std::u16string& class_name, IWbemContext* context,
                  Observer* observer) override {
    return Make(
        [&](RequestTarget& target) { return target.Enumerate(class_name, context, observer); });
  }
  Reply Call(const std::u16string& path, const std::u16string& method, IWbemContext* context,
             IWbemClassObject* in, Observer* observer) override {
    return Make(
        [&](RequestTarget& target) { return target.Call(path, method, context, in, observer); });
  }

 private:
  template <class Request>
  Reply Make(const Request& request) {
    try {
      if (daemon_) return request(*daemon_);
    } catch (const DaemonGone&) {
      daemon_.reset();
    }
    return request(other_());
  }

  std::unique_ptr<RequestTarget> daemon_;
  const std::function<RequestTarget&()> other_;
};

}  // namespace kelvarion::host
