// Kelvarion_Finding: what the examination of the whole installation finds, and its repair.
#pragma once

#include "doctor/finding.h"
#include "provider/method_table.h"

namespace kelvarion {

class FindingClassHandler final : public MethodsClassHandler<FindingClassHandler> {
 public:
  FindingClassHandler(const WMINamespace& name_space, CallContext* context,
                      const ServerContext& server_context)
      : MethodsClassHandler(u"Kelvarion_Finding", name_space, context, server_context) {}

  HRESULT GetObject(ParsedObjectPath& path, CallContext* context, WMIObject& out) override;
  HRESULT EnumerateInstances(CallContext* context, ResponseSink& sink) override;
  static const MethodTable<FindingClassHandler>& Methods();

 private:
  WMIObject Describe(const doctor::Finding& finding) const;
  void Repair(MethodCall& call);
};

}  // namespace kelvarion
