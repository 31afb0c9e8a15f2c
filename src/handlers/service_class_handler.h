// Kelvarion_Service: the web server with all its settings.
#pragma once

#include "handlers/convert/accounts.h"
#include "provider/method_table.h"

namespace kelvarion {

class ServiceClassHandler final : public MethodsClassHandler<ServiceClassHandler> {
 public:
  ServiceClassHandler(const WMINamespace& name_space, CallContext* context,
                      const ServerContext& server_context, const AccountClassSet& accounts)
      : MethodsClassHandler(u"Kelvarion_Service", name_space, context, server_context),
        accounts_(accounts),
        certificate_class_(name_space.LoadClass(u"Kelvarion_CertifcateInformation", context)) {}

  HRESULT GetObject(ParsedObjectPath& path, CallContext* context, WMIObject& out) override;
  HRESULT EnumerateInstances(CallContext* context, ResponseSink& sink) override;
  HRESULT ExecMethod(ParsedObjectPath& path, const std::u16string& method, CallContext* context,
                     const WMIObject& in_params, ResponseSink& sink,
                     const IcCancelCallback* cancel) override;
  static const MethodTable<ServiceClassHandler>& Methods();

 private:
  WMIObject Describe() const;

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
