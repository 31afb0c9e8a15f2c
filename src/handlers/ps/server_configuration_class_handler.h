// PS_SvnServerConfiguration: the settings of the server, as the command-line module shows them.
#pragma once

#include "provider/method_table.h"

namespace kelvarion {

class PS_ServerConfigurationClassHandler final
    : public PsMethodsClassHandler<PS_ServerConfigurationClassHandler> {
 public:
  PS_ServerConfigurationClassHandler(const WMINamespace& name_space, CallContext* context,
                                     const ServerContext& server_context)
      : PsMethodsClassHandler(u"PS_SvnServerConfiguration", name_space, context, server_context) {}

  // Instances exist only as results of the methods.
  HRESULT PsGetObject(ParsedObjectPath&, CallContext*, WMIObject&) override {
    throw WMIException(WBEM_E_NOT_SUPPORTED);
  }
  HRESULT PsEnumerateInstances(CallContext*, ResponseSink&) override {
    throw WMIException(WBEM_E_NOT_SUPPORTED);
  }
  static const MethodTable<PS_ServerConfigurationClassHandler>& Methods();

 private:
  WMIObject Describe() const;

  void Get(MethodCall& call);
  void Set(MethodCall& call);
};

}  // namespace kelvarion
