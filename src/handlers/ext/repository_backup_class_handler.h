// Kelvarion_RepositoryBackup: whole copies of repositories, made and brought back.
#pragma once

#include "provider/method_table.h"

namespace kelvarion {

class RepositoryBackupClassHandler final
    : public MethodsClassHandler<RepositoryBackupClassHandler> {
 public:
  RepositoryBackupClassHandler(const WMINamespace& name_space, CallContext* context,
                               const ServerContext& server_context)
      : MethodsClassHandler(u"Kelvarion_RepositoryBackup", name_space, context, server_context) {}

  HRESULT GetObject(ParsedObjectPath& path, CallContext* context, WMIObject& out) override;
  HRESULT EnumerateInstances(CallContext* context, ResponseSink& sink) override;
  static const MethodTable<RepositoryBackupClassHandler>& Methods();

 private:
  void Create(MethodCall& call);
  void Restore(MethodCall& call);
};

}  // namespace kelvarion
