// Kelvarion_Repository: a repository below the repositories root.
#pragma once

#include "handlers/convert/accounts.h"
#include "handlers/repository_entry_class_handler.h"
#include "provider/method_table.h"
#include "repos/repository_store.h"

namespace kelvarion {

class RepositoryClassHandler final : public MethodsClassHandler<RepositoryClassHandler> {
 public:
  RepositoryClassHandler(const WMINamespace& name_space, CallContext* context,
                         const ServerContext& server_context, const AccountClassSet& accounts,
                         const RepositoryEntryClassHandler& entries)
      : MethodsClassHandler(u"Kelvarion_Repository", name_space, context, server_context),
        accounts_(accounts),
        entries_(entries) {}

  HRESULT GetObject(ParsedObjectPath& path, CallContext* context, WMIObject& out) override;
  HRESULT EnumerateInstances(CallContext* context, ResponseSink& sink) override;
  HRESULT ExecMethod(ParsedObjectPath& path, const std::u16string& method, CallContext* context,
                     const WMIObject& in_params, ResponseSink& sink,
                     const IcCancelCallback* cancel) override;
  static const MethodTable<RepositoryClassHandler>& Methods();

 private:
  WMIObject Describe(const repos::RepositoryRecord& record) const;

  void Create(MethodCall& call);
  void CreateOrmuMaster(MethodCall& call);
  void ImportOrmuMaster(MethodCall& call);
  void ImportRepository(MethodCall& call);
  void GetImportSourceType(MethodCall& call);
  void CreateOrmuSlave(MethodCall& call);
  void TestOrmuConnection(MethodCall& call);
  void Rename(MethodCall& call);
  void Delete(MethodCall& call);
  void GetChildren(MethodCall& call);
  void CreateFolders(MethodCall& call);
  void DeleteFolders(MethodCall& call);
  void Upgrade(MethodCall& call);
  void HasCapability(MethodCall& call);
  void GetHook(MethodCall& call);
  void SetHook(MethodCall& call);
  void DeleteHook(MethodCall& call);
  void GetSecurity(MethodCall& call);
  void SetSecurity(MethodCall& call);
  void GetGlobalSecurity(MethodCall& call);
  void SetGlobalSecurity(MethodCall& call);
  void GetDelegationSettings(MethodCall& call);
  void SetDelegationSettings(MethodCall& call);
  void GetReplicationSettings(MethodCall& call);
  void SetReplicationSettings(MethodCall& call);
  void ConvertToOrmu(MethodCall& call);
  void ConvertToFsfs(MethodCall& call);
  void PromoteToOrmuMaster(MethodCall& call);
  void CheckReplicationConsistency(MethodCall& call);
  void GetSize(MethodCall& call);
  void ExportReplicationSeed(MethodCall& call);
  void ChangeMasterTo(MethodCall& call);

  const AccountClassSet& accounts_;
  const RepositoryEntryClassHandler& entries_;
};

}  // namespace kelvarion
