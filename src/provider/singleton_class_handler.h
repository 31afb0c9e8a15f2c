// Classes with one instance, which is described anew for every request.
#pragma once

#include "errors/exception.h"
#include "platform/text/compare.h"
#include "provider/method_table.h"

namespace kelvarion {

// Without keys. Base is one of the other bases of handlers.
template <class Base>
class SingletonClassHandler : public Base {
 public:
  using Base::Base;

  HRESULT GetObject(ParsedObjectPath& path, CallContext*, WMIObject& out) override {
    RequireInstance(path);
    out = Describe();
    return S_OK;
  }
  HRESULT EnumerateInstances(CallContext*, ResponseSink& sink) override {
    sink.Indicate(Describe());
    return S_OK;
  }

 protected:
  ~SingletonClassHandler() = default;

  // The instance as it is now.
  virtual WMIObject Describe() const = 0;
  // Throws WMIException WBEM_E_NOT_FOUND unless the path is that of the instance.
  virtual void RequireInstance(const ParsedObjectPath& path) const {
    if (path.KeyCount() != 0) throw WMIException(WBEM_E_NOT_FOUND);
  }
};

// With the key Name, whose one value is found in any letter case; methods need it as well.
template <class Derived>
class NamedSingletonClassHandler : public SingletonClassHandler<MethodsClassHandler<Derived>> {
  using Base = SingletonClassHandler<MethodsClassHandler<Derived>>;

 public:
  NamedSingletonClassHandler(const char16_t* class_name, const char16_t* name,
                             const WMINamespace& name_space, CallContext* context,
                             const ServerContext& server_context)
      : Base(class_name, name_space, context, server_context), name_(name) {}

  HRESULT ExecMethod(ParsedObjectPath& path, const std::u16string& method, CallContext* context,
                     const WMIObject& in_params, ResponseSink& sink,
                     const IcCancelCallback* cancel) override {
    RequireInstance(path);
    return Base::ExecMethod(path, method, context, in_params, sink, cancel);
  }

 protected:
  ~NamedSingletonClassHandler() = default;

  static constexpr Property<std::u16string> kName{u"Name"};

  void RequireInstance(const ParsedObjectPath& path) const override {
    if (!platform::EqualIgnoreCase(path.Key(kName), name_)) throw WMIException(WBEM_E_NOT_FOUND);
  }
  // An instance with its key.
  WMIObject SpawnNamed() const {
    WMIObject instance = this->SpawnInstance();
    instance.Set(kName, name_);
    return instance;
  }

 private:
  const std::u16string name_;
};

}  // namespace kelvarion
