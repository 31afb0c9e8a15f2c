// Kelvarion_ServerCertificate: how things stand with the web server's certificate.
#pragma once

#include "certificate/certificate_state.h"
#include "provider/method_table.h"

namespace kelvarion {

class ServerCertificateClassHandler final
    : public MethodsClassHandler<ServerCertificateClassHandler> {
 public:
  ServerCertificateClassHandler(const WMINamespace& name_space, CallContext* context,
                                const ServerContext& server_context)
      : MethodsClassHandler(u"Kelvarion_ServerCertificate", name_space, context, server_context) {}

  HRESULT GetObject(ParsedObjectPath& path, CallContext* context, WMIObject& out) override;
  HRESULT EnumerateInstances(CallContext* context, ResponseSink& sink) override;
  static const MethodTable<ServerCertificateClassHandler>& Methods();

 private:
  WMIObject Describe(const certificate::CertificateState& state) const;
  void Check(MethodCall& call);
};

}  // namespace kelvarion
