// Kelvarion_User: a Subversion user of this server.
#pragma once

#include "provider/class_handler.h"
#include "provider/method_table.h"

namespace kelvarion {

class UserClassHandler final : public MethodsClassHandler<UserClassHandler> {
 public:
  UserClassHandler(const WMINamespace& name_space, CallContext* context,
                   const ServerContext& server_context)
      : MethodsClassHandler(u"Kelvarion_User", name_space, context, server_context) {}

  HRESULT GetObject(ParsedObjectPath& path, CallContext* context, WMIObject& out) override;
  HRESULT EnumerateInstances(CallContext* context, ResponseSink& sink) override;
  WMIObject Describe(const std::u16string& name) const;
  static const MethodTable<UserClassHandler>& Methods();

 private:
  void Create(MethodCall& call);
  void Delete(MethodCall& call);
  void SetPassword(MethodCall& call);
};

}  // namespace kelvarion
