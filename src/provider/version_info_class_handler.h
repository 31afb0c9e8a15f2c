// Kelvarion_VersionInfo: which versions of the server and of what it stands on are administered.
#pragma once

#include "provider/class_handler.h"

namespace kelvarion {

class VersionInfoClassHandler final : public AbstractClassHandler {
 public:
  VersionInfoClassHandler(const WMINamespace& name_space, CallContext* context,
                          const ServerContext& server_context)
      : AbstractClassHandler(u"Kelvarion_VersionInfo", name_space, context, server_context) {}

  HRESULT GetObject(ParsedObjectPath& path, CallContext* context, WMIObject& out) override;
  HRESULT EnumerateInstances(CallContext* context, ResponseSink& sink) override;
  HRESULT ExecMethod(ParsedObjectPath& path, const std::u16string& method, CallContext* context,
                     const WMIObject& in_params, ResponseSink& sink,
                     const IcCancelCallback* cancel) override;

 private:
  WMIObject Describe() const;
};

}  // namespace kelvarion
