// Kelvarion_OrmuService: the service that masters and slaves replicate through.
#pragma once

#include "handlers/convert/accounts.h"
#include "provider/singleton_class_handler.h"
#include "services/ormu_service.h"

namespace kelvarion {

class OrmuServiceClassHandler final : public NamedSingletonClassHandler<OrmuServiceClassHandler> {
 public:
  OrmuServiceClassHandler(const WMINamespace& name_space, CallContext* context,
                          const ServerContext& server_context, const AccountClassSet& accounts)
      : NamedSingletonClassHandler(u"Kelvarion_OrmuService", services::kOrmuServiceName, name_space,
                                   context, server_context),
        accounts_(accounts) {}

  static const MethodTable<OrmuServiceClassHandler>& Methods();

 private:
  WMIObject Describe() const override;

  void StartService(MethodCall& call);
  void StopService(MethodCall& call);
  void ChangeStartMode(MethodCall& call);
  void GetReplicationPartners(MethodCall& call);
  void SetReplicationPartners(MethodCall& call);

  const AccountClassSet& accounts_;
};

}  // namespace kelvarion
