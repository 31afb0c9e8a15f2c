// Kelvarion_VersionInfo: which versions of the server and of what it stands on are administered.
#pragma once

#include "provider/singleton_class_handler.h"

namespace kelvarion {

class VersionInfoClassHandler final : public SingletonClassHandler<AbstractClassHandler> {
 public:
  VersionInfoClassHandler(const WMINamespace& name_space, CallContext* context,
                          const ServerContext& server_context)
      : SingletonClassHandler(u"Kelvarion_VersionInfo", name_space, context, server_context) {}

 private:
  WMIObject Describe() const override;
};

}  // namespace kelvarion
