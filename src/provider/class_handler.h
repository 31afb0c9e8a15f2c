// The contract between the provider's frame and the handlers of the management classes.
//
// One handler object serves all requests for its class, on any thread, at the same time: its fields
// are written only while it is constructed, everything of one request lives in the arguments. The
// HRESULT of an operation becomes the final status unless the operation throws.
#pragma once

#include <string>
#include <vector>

#include "context/cancel_callback.h"
#include "context/server_context.h"
#include "provider/response_sink.h"
#include "wmi/class.h"
#include "wmi/namespace.h"
#include "wmi/object.h"
#include "wmi/object_path.h"

namespace kelvarion {

// The request's context; may be null.
using CallContext = IWbemContext;

class IAbstractClassHandler {
 public:
  // The frame indicates `out`.
  virtual HRESULT GetObject(ParsedObjectPath& path, CallContext* context, WMIObject& out) = 0;
  virtual HRESULT PutInstance(const WMIObject& instance) = 0;
  virtual HRESULT DeleteInstance(ParsedObjectPath& path) = 0;
  // Enumeration and methods indicate their objects themselves.
  virtual HRESULT EnumerateInstances(CallContext* context, ResponseSink& sink) = 0;
  // `in_params` may be empty; `cancel` is null unless the client named an activity.
  virtual HRESULT ExecMethod(ParsedObjectPath& path, const std::u16string& method,
                             CallContext* context, const WMIObject& in_params, ResponseSink& sink,
                             const IcCancelCallback* cancel) = 0;
  virtual const std::u16string& GetClassName() const = 0;
  // What ExecMethod knows: the methods that the schema declares for the class.
  virtual std::vector<std::u16string> MethodNames() const { return {}; }

 protected:
  ~IAbstractClassHandler() = default;
};

// The base of the classic classes: put and delete are not supported and there are no methods, the
// class itself is loaded when the handler is constructed.
class AbstractClassHandler : public IAbstractClassHandler {
 public:
  // Throws ComException "Cannot get WMI class '%s'" when the namespace does not have the class.
  AbstractClassHandler(std::u16string class_name, const WMINamespace& name_space,
                       CallContext* context, const ServerContext& server_context);
  AbstractClassHandler(const AbstractClassHandler&) = delete;
  AbstractClassHandler& operator=(const AbstractClassHandler&) = delete;

  HRESULT PutInstance(const WMIObject& instance) override;
  HRESULT DeleteInstance(ParsedObjectPath& path) override;
  HRESULT ExecMethod(ParsedObjectPath& path, const std::u16string& method, CallContext* context,
                     const WMIObject& in_params, ResponseSink& sink,
                     const IcCancelCallback* cancel) override;
  const std::u16string& GetClassName() const override { return class_name_; }

  const ServerContext& context() const { return server_context_; }
  const WMINamespace& name_space() const { return namespace_; }
  const WMIClass& own_class() const { return own_class_; }

  WMIObject SpawnInstance() const { return own_class_.SpawnInstance(); }
  // An object for the out-parameters of one of the class's methods.
  WMIObject SpawnOutParameters(const std::u16string& method) const;
  // Throws WMIException WBEM_E_INVALID_OBJECT_PATH unless the path denotes an instance.
  void RequireInstancePath(ParsedObjectPath& path) const;

 protected:
  ~AbstractClassHandler() = default;

 private:
  std::u16string class_name_;
  const WMINamespace& namespace_;
  const ServerContext& server_context_;
  WMIClass own_class_;
};

}  // namespace kelvarion
