// Kelvarion_OrmuService: the service that masters and slaves replicate through.
#pragma once

#include "handlers/convert/accounts.h"
#include "provider/method_table.h"

namespace kelvarion {

class OrmuServiceClassHandler final : public MethodsClassHandler<OrmuServiceClassHandler> {
 public:
  OrmuServiceClassHandler(const WMINamespace& name_space, CallContext* context,
                          const ServerContext& server_context, const AccountClassSet& accounts)
      : MethodsClassHandler(u"Kelvarion_OrmuService", name_space, context, server_context),
        accounts_(accounts) {}

  HRESULT GetObject(ParsedObjectPath& path, CallContext* context, WMIObject& out) override;
  HRESULT EnumerateInstances(CallContext* context, ResponseSink& sink) override;
  HRESULT ExecMethod(ParsedObjectPath& path, const std::u16string& method, CallContext* context,
                     const WMIObject& in_params, ResponseSink& sink,
                     const IcCancelCallback* cancel) override;
  static const MethodTable<OrmuServiceClassHandler>& Methods();

 private:
  WMIObject Describe() const;

  void StartService(MethodCall& call);
  void StopService(MethodCall& call);
  void ChangeStartMode(MethodCall& call);
  void GetReplicationPartners(MethodCall& call);
  void SetReplicationPartners(MethodCall& call);

  const AccountClassSet& accounts_;
};

}  // namespace kelvarion
