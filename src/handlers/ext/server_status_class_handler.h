// Kelvarion_ServerStatus: how the server is at a glance; starting, stopping and restarting it to
// the end.
#pragma once

#include "provider/method_table.h"

namespace kelvarion {

class ServerStatusClassHandler final : public MethodsClassHandler<ServerStatusClassHandler> {
 public:
  ServerStatusClassHandler(const WMINamespace& name_space, CallContext* context,
                           const ServerContext& server_context)
      : MethodsClassHandler(u"Kelvarion_ServerStatus", name_space, context, server_context) {}

  HRESULT GetObject(ParsedObjectPath& path, CallContext* context, WMIObject& out) override;
  HRESULT EnumerateInstances(CallContext* context, ResponseSink& sink) override;
  static const MethodTable<ServerStatusClassHandler>& Methods();

 private:
  WMIObject Describe() const;
  void Start(MethodCall& call);
  void Stop(MethodCall& call);
  void Restart(MethodCall& call);
};

}  // namespace kelvarion
