// Kelvarion_AccessRule: one access rule, whichever way the server knows its users.
#pragma once

#include "access/access_rules.h"
#include "access/account_names.h"
#include "provider/method_table.h"

namespace kelvarion {

class AccessRuleClassHandler final : public MethodsClassHandler<AccessRuleClassHandler> {
 public:
  AccessRuleClassHandler(const WMINamespace& name_space, CallContext* context,
                         const ServerContext& server_context)
      : MethodsClassHandler(u"Kelvarion_AccessRule", name_space, context, server_context) {}

  HRESULT GetObject(ParsedObjectPath& path, CallContext* context, WMIObject& out) override;
  HRESULT EnumerateInstances(CallContext* context, ResponseSink& sink) override;
  static const MethodTable<AccessRuleClassHandler>& Methods();

 private:
  WMIObject Describe(const access::AccessRule& rule, access::AccountNames& names) const;
  access::AccountNames Names() const;

  void Add(MethodCall& call);
  void Remove(MethodCall& call);
  void Select(MethodCall& call);
};

}  // namespace kelvarion
