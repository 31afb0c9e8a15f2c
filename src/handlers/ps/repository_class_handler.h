// PS_SvnRepository: a repository, as the command-line module shows it.
#pragma once

#include "provider/method_table.h"
#include "repos/repository_store.h"

namespace kelvarion {

class PS_RepositoryClassHandler final : public PsMethodsClassHandler<PS_RepositoryClassHandler> {
 public:
  PS_RepositoryClassHandler(const WMINamespace& name_space, CallContext* context,
                            const ServerContext& server_context);

  HRESULT PsGetObject(ParsedObjectPath& path, CallContext* context, WMIObject& out) override;
  // Sorted by name, numbers in names by their value.
  HRESULT PsEnumerateInstances(CallContext* context, ResponseSink& sink) override;
  HRESULT PsExecMethod(ParsedObjectPath& path, const std::u16string& method, CallContext* context,
                       const WMIObject& in_params, ResponseSink& sink,
                       const IcCancelCallback* cancel) override;
  static const MethodTable<PS_RepositoryClassHandler>& Methods();

 private:
  WMIObject Describe(const repos::RepositoryRecord& record) const;
  // Puts out the repository of the name as it is now.
  void OutputRepository(MethodCall& call, const std::u16string& name) const;
  void OutputIfPassThru(MethodCall& call, const std::u16string& name) const;
  // The repository that the path of the instance names, as the disk spells it.
  std::u16string Named(MethodCall& call) const;
  // The same with the type it must have: not supported, with the text, for another type.
  repos::RepositoryRecord NamedOfType(MethodCall& call, RepositoryType type,
                                      const char16_t* refusal) const;

  void Create(MethodCall& call);
  void Remove(MethodCall& call);
  void Rename(MethodCall& call);
  void Test(MethodCall& call);
  void Import(MethodCall& call);
  void Measure(MethodCall& call);

  // repository_replication_methods.cpp
  void GetReplication(MethodCall& call);
  void SetReplication(MethodCall& call);
  void Convert(MethodCall& call);
  void Sync(MethodCall& call);
  void Set(MethodCall& call);
  void Suspend(MethodCall& call);
  void Resume(MethodCall& call);
  void Switch(MethodCall& call);

  WMIClass replication_class_;
  WMIClass test_result_class_;
  WMIClass stats_class_;
};

}  // namespace kelvarion
