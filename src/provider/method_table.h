// Methods of a management class bound to the bodies that serve them.
#pragma once

#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "errors/exception.h"
#include "platform/text/compare.h"
#include "provider/class_handler.h"
#include "provider/ps_class_handler.h"

namespace kelvarion {

// One method call as its body sees it: inputs by `in`, the instance's key by `key`, outputs by
// `out`. The out-parameters object is made on first use and indicated when the body returns.
class MethodCall {
 public:
  MethodCall(const AbstractClassHandler& handler, ParsedObjectPath& path,
             const std::u16string& method, CallContext* context, const WMIObject& in_params,
             ResponseSink& sink, const IcCancelCallback* cancel)
      : handler_(handler),
        path_(path),
        method_(method),
        context_(context),
        in_(in_params),
        sink_(sink),
        cancel_(sink, cancel) {}

  // Throws as the typed getters of WMIObject do.
  template <class T>
  T in(const Property<T>& name) const {
    return in_.Get(name);
  }
  template <class T>
  std::optional<T> optional_in(const Property<T>& name) const {
    return in_.GetOptional(name);
  }
  const WMIObject& in_params() const { return in_; }

  // The single key of the instance that the path denotes. WBEM_E_INVALID_OBJECT_PATH otherwise.
  std::u16string key(const Property<std::u16string>& name) {
    handler_.RequireInstancePath(path_);
    return path_.Key(name);
  }
  // The same for an instance with several keys: `const auto [a, b] = call.keys(kA, kB);`.
  template <class... T>
  auto keys(const Property<T>&... names) {
    handler_.RequireInstancePath(path_);
    return path_.Keys(names...);
  }
  ParsedObjectPath& path() { return path_; }

  WMIObject& out() {
    if (!out_.object()) out_ = handler_.SpawnOutParameters(method_);
    return out_;
  }
  ResponseSink& sink() { return sink_; }
  // For operations that warn; not to be kept beyond the call.
  auto warn() {
    return [this](const std::u16string& text) { sink_.WriteWarning(text); };
  }
  // For operations that run long. Any client may cancel the activity of the request; a client that
  // is gone or answers progress with "call cancelled" cancels as well.
  const IcCancelCallback& cancel() const { return cancel_; }
  CallContext* context() const { return context_; }

  // Sends the out-parameters, if the body made any.
  void Finish() {
    if (out_.object()) sink_.Indicate(out_);
  }

 private:
  class Cancellation final : public IcCancelCallback {
   public:
    Cancellation(const ResponseSink& sink, const IcCancelCallback* activity)
        : sink_(sink), activity_(activity) {}
    bool IsCancelled() const override {
      return sink_.cancelled() || (activity_ && activity_->IsCancelled());
    }

   private:
    const ResponseSink& sink_;
    const IcCancelCallback* activity_;  // Null unless the client named one.
  };

  const AbstractClassHandler& handler_;
  ParsedObjectPath& path_;
  const std::u16string& method_;
  CallContext* context_;
  const WMIObject& in_;
  ResponseSink& sink_;
  Cancellation cancel_;
  WMIObject out_;
};

// Name → body, in the order of the class's description; names match ignoring case.
template <class Handler>
class MethodTable {
 public:
  using Body = void (Handler::*)(MethodCall&);
  MethodTable(std::initializer_list<std::pair<const char16_t*, Body>> rows) : rows_(rows) {}

  // Throws WMIException WBEM_E_INVALID_METHOD for a name that no row has.
  HRESULT Run(Handler& handler, const std::u16string& method, MethodCall& call) const {
    for (const auto& [name, body] : rows_) {
      if (!platform::EqualIgnoreCase(name, method)) continue;
      (handler.*body)(call);
      call.Finish();
      return S_OK;
    }
    throw WMIException(WBEM_E_INVALID_METHOD, u"%s has no method '%s'", handler.GetClassName(),
                       method);
  }

  std::vector<std::u16string> Names() const {
    std::vector<std::u16string> names;
    for (const auto& [name, body] : rows_) names.emplace_back(name);
    return names;
  }

 private:
  std::vector<std::pair<const char16_t*, Body>> rows_;
};

// A class whose methods are a table: Derived has `static const MethodTable<Derived>& Methods()`.
template <class Derived>
class MethodsClassHandler : public AbstractClassHandler {
 public:
  using AbstractClassHandler::AbstractClassHandler;

  HRESULT ExecMethod(ParsedObjectPath& path, const std::u16string& method, CallContext* context,
                     const WMIObject& in_params, ResponseSink& sink,
                     const IcCancelCallback* cancel) override {
    MethodCall call(*this, path, method, context, in_params, sink, cancel);
    return Derived::Methods().Run(static_cast<Derived&>(*this), method, call);
  }
  std::vector<std::u16string> MethodNames() const override { return Derived::Methods().Names(); }

 protected:
  ~MethodsClassHandler() = default;
};

// The same for a class behind command-line use.
template <class Derived>
class PsMethodsClassHandler : public PS_AbstractClassHandler {
 public:
  using PS_AbstractClassHandler::PS_AbstractClassHandler;

  std::vector<std::u16string> MethodNames() const override { return Derived::Methods().Names(); }

 protected:
  ~PsMethodsClassHandler() = default;

  HRESULT PsExecMethod(ParsedObjectPath& path, const std::u16string& method, CallContext* context,
                       const WMIObject& in_params, ResponseSink& sink,
                       const IcCancelCallback* cancel) override {
    MethodCall call(*this, path, method, context, in_params, sink, cancel);
    return Derived::Methods().Run(static_cast<Derived&>(*this), method, call);
  }
};

}  // namespace kelvarion
