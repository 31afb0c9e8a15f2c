// Kelvarion_Service: the web server with all its settings.
#pragma once

#include "handlers/convert/accounts.h"
#include "provider/singleton_class_handler.h"
#include "settings/server_settings.h"

namespace kelvarion {

class ServiceClassHandler final : public NamedSingletonClassHandler<ServiceClassHandler> {
 public:
  ServiceClassHandler(const WMINamespace& name_space, CallContext* context,
                      const ServerContext& server_context, const AccountClassSet& accounts)
      : NamedSingletonClassHandler(u"Kelvarion_Service", settings::kServerInstanceName, name_space,
                                   context, server_context),
        accounts_(accounts),
        certificate_class_(name_space.LoadClass(u"Kelvarion_CertifcateInformation", context)) {}

  static const MethodTable<ServiceClassHandler>& Methods();

 private:
  WMIObject Describe() const override;

  void GetCertificateInformation(MethodCall& call);
  void ImportCertificate(MethodCall& call);
  void ValidateCertificate(MethodCall& call);
  void CreateSelfSignedCertificate(MethodCall& call);
  void CreateCertificateRequest(MethodCall& call);
  void SetRepositoriesRoot(MethodCall& call);
  void SetServerName(MethodCall& call);
  void SetNetworkOptions(MethodCall& call);
  void SetAuthenticationOptions(MethodCall& call);
  void SetLoggingOptions(MethodCall& call);
  void StartService(MethodCall& call);
  void StopService(MethodCall& call);
  void RestartService(MethodCall& call);
  void GetRepositorySupervisors(MethodCall& call);
  void SetRepositorySupervisors(MethodCall& call);
  void GetServerAdmins(MethodCall& call);
  void SetServerAdmins(MethodCall& call);
  void SetRepositoriesURLPrefix(MethodCall& call);
  void SetWebInterfaceOptions(MethodCall& call);

  const AccountClassSet& accounts_;
  const WMIClass certificate_class_;
};

}  // namespace kelvarion
