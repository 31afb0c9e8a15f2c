// The base of the classes that stand behind command-line use.
#pragma once

#include "provider/class_handler.h"
#include "util/version.h"

namespace kelvarion {

// Refuses a client that asks for a newer major version of the class than this provider serves, then
// passes the request on. The served version is the class's qualifier ClassVersion; a class without
// it cannot be served.
class PS_AbstractClassHandler : public AbstractClassHandler {
 public:
  PS_AbstractClassHandler(std::u16string class_name, const WMINamespace& name_space,
                          CallContext* context, const ServerContext& server_context);

  HRESULT GetObject(ParsedObjectPath& path, CallContext* context, WMIObject& out) final;
  HRESULT EnumerateInstances(CallContext* context, ResponseSink& sink) final;
  HRESULT ExecMethod(ParsedObjectPath& path, const std::u16string& method, CallContext* context,
                     const WMIObject& in_params, ResponseSink& sink,
                     const IcCancelCallback* cancel) final;

 protected:
  ~PS_AbstractClassHandler() = default;

  virtual HRESULT PsGetObject(ParsedObjectPath& path, CallContext* context, WMIObject& out) = 0;
  virtual HRESULT PsEnumerateInstances(CallContext* context, ResponseSink& sink) = 0;
  virtual HRESULT PsExecMethod(ParsedObjectPath& path, const std::u16string& method,
                               CallContext* context, const WMIObject& in_params, ResponseSink& sink,
                               const IcCancelCallback* cancel) = 0;

 private:
  // Throws SimpleException when the client's version is not served.
  void CheckVersion(CallContext* context) const;

  ProviderVersion version_;
};

}  // namespace kelvarion
