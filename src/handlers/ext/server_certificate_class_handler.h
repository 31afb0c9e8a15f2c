// Kelvarion_ServerCertificate: how things stand with the web server's certificate.
#pragma once

#include "certificate/certificate_state.h"
#include "provider/singleton_class_handler.h"

namespace kelvarion {

class ServerCertificateClassHandler final
    : public SingletonClassHandler<MethodsClassHandler<ServerCertificateClassHandler>> {
 public:
  ServerCertificateClassHandler(const WMINamespace& name_space, CallContext* context,
                                const ServerContext& server_context)
      : SingletonClassHandler(u"Kelvarion_ServerCertificate", name_space, context, server_context) {
  }

  static const MethodTable<ServerCertificateClassHandler>& Methods();

 private:
  WMIObject Describe() const override;
  WMIObject Describe(const certificate::CertificateState& state) const;
  void Check(MethodCall& call);
};

}  // namespace kelvarion
