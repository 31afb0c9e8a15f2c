// PS_SvnRepositoryHook: a hook script, as the command-line module shows it.
#pragma once

#include "provider/method_table.h"
#include "repos/hooks.h"

namespace kelvarion {

class PS_RepositoryHookClassHandler final
    : public PsMethodsClassHandler<PS_RepositoryHookClassHandler> {
 public:
  PS_RepositoryHookClassHandler(const WMINamespace& name_space, CallContext* context,
                                const ServerContext& server_context)
      : PsMethodsClassHandler(u"PS_SvnRepositoryHook", name_space, context, server_context) {}

  HRESULT PsGetObject(ParsedObjectPath& path, CallContext* context, WMIObject& out) override;
  HRESULT PsEnumerateInstances(CallContext* context, ResponseSink& sink) override;
  static const MethodTable<PS_RepositoryHookClassHandler>& Methods();

 private:
  WMIObject Describe(const repos::HookRecord& hook) const;
  // The end of all three ways to add a hook.
  void Add(MethodCall& call, const std::u16string& repository, std::uint32_t type,
           const std::u16string& content) const;

  void AddByRepositoryName(MethodCall& call);
  void AddByRepositoryObject(MethodCall& call);
  void AddByHook(MethodCall& call);
  void Set(MethodCall& call);
  void Remove(MethodCall& call);
};

}  // namespace kelvarion
