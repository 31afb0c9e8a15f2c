// Kelvarion_ReplicationStatus: how far the slaves of this server have come.
#pragma once

#include "ormu/status.h"
#include "provider/class_handler.h"

namespace kelvarion {

class ReplicationStatusClassHandler final : public AbstractClassHandler {
 public:
  ReplicationStatusClassHandler(const WMINamespace& name_space, CallContext* context,
                                const ServerContext& server_context)
      : AbstractClassHandler(u"Kelvarion_ReplicationStatus", name_space, context, server_context) {}

  HRESULT GetObject(ParsedObjectPath& path, CallContext* context, WMIObject& out) override;
  HRESULT EnumerateInstances(CallContext* context, ResponseSink& sink) override;

 private:
  ormu::ReplicationStatus Read() const;
  WMIObject Describe(const ormu::SlaveStatus& slave, bool service_runs) const;
};

}  // namespace kelvarion
