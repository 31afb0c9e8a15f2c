// Kelvarion_SecurityDescriptor: the rules of one place that has rules of its own.
#pragma once

#include "access/permission_model.h"
#include "handlers/convert/accounts.h"
#include "provider/class_handler.h"

namespace kelvarion {

class SecurityDescriptorClassHandler final : public AbstractClassHandler {
 public:
  SecurityDescriptorClassHandler(const WMINamespace& name_space, CallContext* context,
                                 const ServerContext& server_context,
                                 const AccountClassSet& accounts)
      : AbstractClassHandler(u"Kelvarion_SecurityDescriptor", name_space, context, server_context),
        accounts_(accounts) {}

  HRESULT GetObject(ParsedObjectPath& path, CallContext* context, WMIObject& out) override;
  HRESULT EnumerateInstances(CallContext* context, ResponseSink& sink) override;

 private:
  WMIObject Describe(const std::u16string& place, const access::PermissionList& rules) const;
  // The place that an object path stands for, and the path that stands for a place.
  access::RuleScope ScopeOf(const std::u16string& place) const;
  std::u16string PlaceOf(const access::RuleScope& scope) const;

  const AccountClassSet& accounts_;
};

}  // namespace kelvarion
