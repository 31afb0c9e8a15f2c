// Kelvarion_Repository: a repository below the repositories root.
#pragma once

#include "handlers/convert/accounts.h"
#include "provider/method_table.h"
#include "repos/repository_store.h"

namespace kelvarion {

class RepositoryClassHandler final : public MethodsClassHandler<RepositoryClassHandler> {
 public:
  RepositoryClassHandler(const WMINamespace& name_space, CallContext* context,
                         const ServerContext& server_context, const AccountClassSet& accounts)
      : MethodsClassHandler(u"Kelvarion_Repository", name_space, context, server_context),
        accounts_(accounts) {}

  HRESULT GetObject(ParsedObjectPath& path, CallContext* context, WMIObject& out) override;
  HRESULT EnumerateInstances(CallContext* context, ResponseSink& sink) override;
  static const MethodTable<RepositoryClassHandler>& Methods();

 private:
  WMIObject Describe(const repos::RepositoryRecord& record) const;

  void Create(MethodCall& call);
  void Rename(MethodCall& call);
  void Delete(MethodCall& call);
  void GetSecurity(MethodCall& call);
  void SetSecurity(MethodCall& call);

  const AccountClassSet& accounts_;
};

}  // namespace kelvarion
