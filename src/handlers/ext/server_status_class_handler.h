// Kelvarion_ServerStatus: how the server is at a glance; starting, stopping and restarting it to
// the end.
#pragma once

#include "provider/singleton_class_handler.h"

namespace kelvarion {

class ServerStatusClassHandler final
    : public SingletonClassHandler<MethodsClassHandler<ServerStatusClassHandler>> {
 public:
  ServerStatusClassHandler(const WMINamespace& name_space, CallContext* context,
                           const ServerContext& server_context)
      : SingletonClassHandler(u"Kelvarion_ServerStatus", name_space, context, server_context) {}

  static const MethodTable<ServerStatusClassHandler>& Methods();

 private:
  WMIObject Describe() const override;
  void Start(MethodCall& call);
  void Stop(MethodCall& call);
  void Restart(MethodCall& call);
};

}  // namespace kelvarion
