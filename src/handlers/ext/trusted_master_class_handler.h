// Kelvarion_TrustedMaster: the servers whose masters may be followed, and how they are reached.
#pragma once

#include "provider/method_table.h"

namespace kelvarion {

class TrustedMasterClassHandler final : public MethodsClassHandler<TrustedMasterClassHandler> {
 public:
  TrustedMasterClassHandler(const WMINamespace& name_space, CallContext* context,
                            const ServerContext& server_context)
      : MethodsClassHandler(u"Kelvarion_TrustedMaster", name_space, context, server_context) {}

  HRESULT GetObject(ParsedObjectPath& path, CallContext* context, WMIObject& out) override;
  HRESULT EnumerateInstances(CallContext* context, ResponseSink& sink) override;
  static const MethodTable<TrustedMasterClassHandler>& Methods();

 private:
  // Empty when the server is not trusted.
  WMIObject Describe(const std::string& server) const;

  void Trust(MethodCall& call);
  void GetCertificate(MethodCall& call);
  void Forget(MethodCall& call);
};

}  // namespace kelvarion
