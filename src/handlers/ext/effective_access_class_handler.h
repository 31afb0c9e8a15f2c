// Kelvarion_EffectiveAccess: what an account may really do at a path, and which rule says so.
#pragma once

#include "access/effective/effective_access.h"
#include "provider/method_table.h"

namespace kelvarion {

class EffectiveAccessClassHandler final : public MethodsClassHandler<EffectiveAccessClassHandler> {
 public:
  EffectiveAccessClassHandler(const WMINamespace& name_space, CallContext* context,
                              const ServerContext& server_context)
      : MethodsClassHandler(u"Kelvarion_EffectiveAccess", name_space, context, server_context) {}

  HRESULT GetObject(ParsedObjectPath& path, CallContext* context, WMIObject& out) override;
  HRESULT EnumerateInstances(CallContext* context, ResponseSink& sink) override;
  static const MethodTable<EffectiveAccessClassHandler>& Methods();

 private:
  WMIObject Describe(const access::RepositoryPath& where,
                     const access::EffectiveAccess& access) const;
  access::RepositoryPath Where(const std::u16string& repository, const std::u16string& path) const;

  void Explain(MethodCall& call);
};

}  // namespace kelvarion
