// Kelvarion_AccessFinding: what is wrong in the files that say who may do what.
#pragma once

#include "access/effective/access_finding.h"
#include "provider/class_handler.h"

namespace kelvarion {

class AccessFindingClassHandler final : public AbstractClassHandler {
 public:
  AccessFindingClassHandler(const WMINamespace& name_space, CallContext* context,
                            const ServerContext& server_context)
      : AbstractClassHandler(u"Kelvarion_AccessFinding", name_space, context, server_context) {}

  HRESULT GetObject(ParsedObjectPath& path, CallContext* context, WMIObject& out) override;
  HRESULT EnumerateInstances(CallContext* context, ResponseSink& sink) override;

 private:
  WMIObject Describe(const access::AccessFinding& finding) const;
};

}  // namespace kelvarion
